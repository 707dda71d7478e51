// The real program: its start and its end, alone and when one runs already.

#include <signal.h>

#include <algorithm>

#include "core/Version.h"
#include "profile/DeviceProfileStore.h"
#include "ui/shell/ProgramFixture.h"

namespace quillbay {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class Program : public ProgramFixture {};

TEST_F(Program, prints_help_and_version) {
    const ChildResult help = runProgram({"--help"});
    EXPECT_EQ(help.status.code, 0);
    EXPECT_THAT(help.standardOutput, StartsWith("usage: quillbay [--hidden | --help | --version]\n"));
    const ChildResult version = runProgram({"--version"});
    EXPECT_EQ(version.status.code, 0);
    EXPECT_EQ(version.standardOutput, std::string("quillbay ") + applicationVersion() + "\n");
}

TEST_F(Program, refuses_wrong_usage_with_status_2) {
    const ChildResult result = runProgram({"--fly"});
    EXPECT_EQ(result.status.code, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_THAT(result.standardError, StartsWith("quillbay: there is no argument \"--fly\"\n"
                                                 "usage: quillbay [--hidden | --help | --version]\n"));
}

TEST_F(Program, says_that_there_is_no_desktop) {
    for (const std::optional<std::string>& display : {std::optional<std::string>(), {":19999"}}) {
        environment["DISPLAY"] = display;
        const ChildResult result = runProgram();
        EXPECT_EQ(result.status.code, 1);
        EXPECT_EQ(result.standardError,
                  "quillbay: There is no desktop here to open a window on; "
                  "quillbay-agent runs without one.\n");
    }
}

TEST_F(Program, opens_its_window_and_is_served) {
    const ChildProcess program = startWithWindow();
    EXPECT_THAT(ctl({"status"}).standardOutput, HasSubstr("No phone is paired.\n"));
    ASSERT_TRUE(desktop->mainWindow());
    EXPECT_EQ(desktop->mainWindow()->width, 1024);
    EXPECT_EQ(desktop->mainWindow()->height, 700);
    EXPECT_TRUE(until([&] { return desktop->active() == desktop->mainWindow()->id; }));
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

class ProgramEnd : public ProgramFixture, public ::testing::WithParamInterface<int> {};

TEST_P(ProgramEnd, a_signal_ends_it_in_order) {
    const ChildProcess program = startWithWindow();
    // Its children are there: the capture of phones, and what answers about their names.
    static_cast<void>(ctl({"phones"}));
    ASSERT_EQ(::kill(program.pid(), GetParam()), 0);
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_FALSE(std::filesystem::exists(socket()));
    EXPECT_EQ(ctl({"status"}).status.code, 3);
    EXPECT_TRUE(until([] { return strangers().empty(); })) << strangers().front();
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramEnd, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(Program, restores_the_bridges_that_are_wanted_and_leaves_them_wanted_at_its_end) {
    FileLocations files;
    files.applicationSupport = home() / "data";
    DeviceProfile phone = DeviceProfile::draft("Test Phone");
    phone.bonjourHost = "phone.local";
    phone.providerID = "manual";
    phone.bridgeEnabled = true;
    DeviceProfileStore(files, "Quillbay").save({phone});
    const auto program = startInTray();
    EXPECT_TRUE(until([&] {
        return read("data/Quillbay/diagnostics.log")
                   .find("Test Phone: restoring bridge from previous session") != std::string::npos;
    }));
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
    const auto stored = DeviceProfileStore(files, "Quillbay").load();
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored.front().bridgeEnabled, true);
    EXPECT_TRUE(until([] { return strangers().empty(); }));
}

TEST_F(Program, a_second_start_brings_the_first_ones_window_to_the_front) {
    const ChildProcess program = startInTray();
    EXPECT_FALSE(desktop->mainWindow());
    for (int time = 0; time < 2; ++time) {
        const ChildResult second = runProgram();
        EXPECT_EQ(second.status.code, 0);
        EXPECT_EQ(second.standardError, "");
        EXPECT_EQ(second.standardOutput,
                  "Quillbay is running already; its window has been brought to the front.\n");
        EXPECT_TRUE(until([&] {
            const auto window = desktop->mainWindow();
            return window && desktop->active() == window->id;
        }));
        // From the second time on, something else is in front of it.
        static_cast<void>(desktop->xdotool({"windowminimize", "--sync", desktop->mainWindow()->id}));
        EXPECT_TRUE(until([&] { return !desktop->mainWindow(); }));
    }
    EXPECT_TRUE(program.isRunning());
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

TEST_F(Program, a_second_start_in_hiding_changes_nothing) {
    const ChildProcess program = startInTray();
    const ChildResult second = runProgram({"--hidden"});
    EXPECT_EQ(second.status.code, 0);
    EXPECT_EQ(second.standardError, "");
    EXPECT_EQ(second.standardOutput, "");
    EXPECT_TRUE(isServed());
    EXPECT_FALSE(desktop->mainWindow());
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

TEST_F(Program, starts_that_come_together_make_one_program) {
    std::vector<ChildProcess> started;
    for (int count = 0; count < 4; ++count)
        started.push_back(start());
    EXPECT_TRUE(until([&] {
        return std::count_if(started.begin(), started.end(),
                             [](const auto& one) { return one.isRunning(); }) == 1;
    }));
    EXPECT_TRUE(until([&] { return desktop->mainWindow().has_value() && isServed(); }));
    for (const ChildProcess& one : started) {
        if (one.isRunning()) continue;
        EXPECT_EQ(one.waitForExit().code, 0);
    }
    for (const ChildProcess& one : started)
        one.terminate();
    EXPECT_TRUE(until([] { return strangers().empty(); }));
}

TEST_F(Program, says_that_the_agent_runs) {
    const ChildProcess agent = ChildProcess::launch(
        {QUILLBAY_AGENT, {}, ChildCommand::Output::null, ChildCommand::Output::null, environment});
    ASSERT_TRUE(until([&] { return isServed(); }));
    const ChildResult result = runProgram();
    EXPECT_EQ(result.status.code, 1);
    EXPECT_EQ(result.standardError,
              "quillbay: Quillbay is running already. The program that runs has no windows.\n");
    agent.terminateAndWait();
}

TEST_F(Program, takes_the_place_of_one_that_was_killed) {
    const ChildProcess first = startWithWindow();
    ASSERT_EQ(::kill(first.pid(), SIGKILL), 0);
    static_cast<void>(first.waitForExit());
    ASSERT_TRUE(std::filesystem::is_socket(socket())) << "it had no time to tidy up";
    const ChildProcess second = startWithWindow();
    second.terminate();
    EXPECT_EQ(statusOf(second), 0);
}

TEST_F(Program, ends_its_children_when_the_display_goes) {
    const ChildProcess program = startWithWindow();
    static_cast<void>(ctl({"phones"}));
    desktop->stopDisplay();
    EXPECT_EQ(statusOf(program), 1);
    EXPECT_FALSE(std::filesystem::exists(socket()));
    EXPECT_TRUE(until([] { return strangers().empty(); })) << strangers().front();
}

}  // namespace
}  // namespace quillbay
