// The real program against a real server in this process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <string>
#include <vector>

#include "control/ControlFixture.h"
#include "core/Version.h"
#include "ctl/OnTerminal.h"
#include "fakes/FakePhone.h"
#include "platform/ChildProcess.h"
#include "platform/RuntimeFolder.h"

namespace quillbay {
namespace {

using fakes::FakePhone;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CtlProgram : public ControlFixture {
 protected:
    using Words = std::vector<std::string>;

    [[nodiscard]] ChildCommand command(const Words& words) const {
        return {QUILLBAYCTL,
                words,
                ChildCommand::Output::pipe,
                ChildCommand::Output::pipe,
                {{"XDG_RUNTIME_DIR", world.host.files.runtime.string()}}};
    }

    /// Runs the program to its end while the server goes on.
    ChildResult run(const Words& words) {
        constexpr std::size_t limitBytes = 1'000'000;
        auto result = std::async(std::launch::async, [this, words] {
            return runToEnd(command(words), limitBytes, StopToken(), std::chrono::seconds(20));
        });
        EXPECT_TRUE(
            world.until([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
                        std::chrono::seconds(30)));
        const auto ended = result.get();
        if (!ended) ADD_FAILURE() << "the program does not end";
        return ended.value_or(ChildResult{});
    }

    void expect(const Words& words, int status, const std::string& output, const std::string& errors) {
        const ChildResult result = run(words);
        EXPECT_EQ(result.status.code, status);
        EXPECT_EQ(result.standardOutput, output);
        EXPECT_EQ(result.standardError, errors);
    }
};

TEST_F(CtlProgram, says_that_nothing_is_running_with_status_3) {
    const std::string nothing = "quillbayctl: Nothing is running: start quillbay or quillbay-agent.\n";
    expect({"status"}, 3, "", nothing);
    // A socket that a killed program has left.
    static_cast<void>(listenLocal(prepareRuntimeFolder(world.host.files.runtime) / "control.sock"));
    expect({"status"}, 3, "", nothing);
}

TEST_F(CtlProgram, prints_help_and_version_without_anything_running) {
    const ChildResult help = run({"--help"});
    EXPECT_EQ(help.status.code, 0);
    EXPECT_THAT(help.standardOutput, StartsWith("usage: quillbayctl [--json] COMMAND\n"));
    EXPECT_EQ(help.standardError, "");
    expect({"--version"}, 0, std::string("quillbayctl ") + applicationVersion() + "\n", "");
}

TEST_F(CtlProgram, refuses_wrong_usage_with_status_2) {
    const ChildResult unknown = run({"fly"});
    EXPECT_EQ(unknown.status.code, 2);
    EXPECT_EQ(unknown.standardOutput, "");
    EXPECT_THAT(
        unknown.standardError,
        StartsWith("quillbayctl: there is no command \"fly\".\nusage: quillbayctl [--json] COMMAND\n"));
    const ChildResult nothing = run({});
    EXPECT_EQ(nothing.status.code, 2);
    EXPECT_THAT(nothing.standardError, StartsWith("usage: quillbayctl [--json] COMMAND\n"));
}

TEST_F(CtlProgram, a_refusal_is_its_sentence_and_status_1) {
    serve();
    expect({"start", "x"}, 1, "", "quillbayctl: There is no profile \"x\".\n");
    expect({"--json", "start", "x"}, 1, "{\"error\":\"There is no profile \\\"x\\\".\"}\n",
           "quillbayctl: There is no profile \"x\".\n");
    expect({"peers", "zerotier"}, 1, "",
           "quillbayctl: ZeroTier cannot list its peers: pair with the phone's address.\n");
}

TEST_F(CtlProgram, pairs_shows_and_forgets_a_phone) {
    serve();
    CapturedBonjourService near = phone("Mirel", "iPhone.local");
    near.lastSeen = std::chrono::system_clock::now() - std::chrono::minutes(3);
    world.clock.advance(near.lastSeen - world.clock.now());
    discover({near});
    usePeers({R"({"HostName":"phone","TailscaleIPs":["100.64.0.7"],"Online":true})"});

    expect({"phones"}, 0,
           "NAME   HOST          PORT   SEEN       DEVICE  TXT\n"
           "Mirel  iPhone.local  49152  3 min ago  -       identifier=ABC ver=24\n",
           "");
    expect({"peers", "tailscale"}, 0,
           "NAME   STATE   ADDRESSES\n"
           "phone  online  100.64.0.7\n",
           "");
    expect({"pair", "mirel", "--peer", "tailscale:phone", "--name", "Mirel's iPhone"}, 0,
           "Paired: iPhone.local#tailscale\n", "");
    expect({"rename", "Mirel's iPhone", "mine"}, 0, "Renamed: iPhone.local#tailscale\n", "");
    expect({"status"}, 0,
           std::string("Quillbay ") + applicationVersion() +
               ": off\nAddress on the local network: " + world.macIP +
               "\n\n"
               "NAME  HOST          PROVIDER   ADDRESS     PORT   WANTED  BRIDGE\n"
               "mine  iPhone.local  tailscale  100.64.0.7  49152  no      off\n",
           "");
    expect({"log"}, 0, "Device \"Mirel's iPhone\" added.\nDevice \"mine\" updated.\n", "");
    expect({"--json", "remove", "mine"}, 0, "{\"id\":\"iPhone.local#tailscale\"}\n", "");
    EXPECT_TRUE(stored().empty());
}

TEST_F(CtlProgram, json_prints_the_documents_as_they_came) {
    serve();
    coordinator->logs().user("one");
    coordinator->logs().user("two");
    expect({"--json", "log"}, 0, "{\"line\":\"one\"}\n{\"line\":\"two\"}\n", "");
    discover({});
    expect({"phones", "--json"}, 0, "{\"phones\":[]}\n", "");
}

TEST_F(CtlProgram, starts_and_stops) {
    serve({profile("iphone")});
    expect({"start", "iphone"}, 0, "Starting: iphone.local#tailscale\n", "");
    expect({"stop", "iphone"}, 0, "Stopped: iphone.local#tailscale\n", "");
}

TEST_F(CtlProgram, scans_without_showing_progress_where_there_is_no_terminal) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    DeviceProfile mine = profile("iphone");
    mine.remotePairingPort = phone.port();
    serve({mine});
    const ChildResult result = run({"scan", "iphone"});
    EXPECT_EQ(result.status.code, 0);
    EXPECT_THAT(result.standardOutput,
                ::testing::MatchesRegex("The phone answers on port " + std::to_string(phone.port()) +
                                        " \\([0-9,]+ of 16,384 ports probed\\)\\.\n"));
    const ChildResult documents = run({"scan", "iphone", "--json"});
    EXPECT_THAT(documents.standardOutput,
                HasSubstr("{\"port\":" + std::to_string(phone.port()) + ",\"openButSilent\":[],"));
}

TEST_F(CtlProgram, shows_the_progress_of_a_scan_in_one_line_of_the_terminal) {
    serve({profile("iphone")});
    fakes::OnTerminal terminal(command({"scan", "iphone"}));
    ASSERT_TRUE(world.until([&] { return terminal.hasEnded(); }));
    EXPECT_EQ(terminal.exitStatus(), 0);
    EXPECT_THAT(terminal.text(), ::testing::MatchesRegex("(\r[0-9,]+ of 16,384 ports probed)+ *\r *\r"
                                                         "The phone's port was not found: nothing answered "
                                                         "\\(16,384 of 16,384 ports probed\\)\\.\r\n"));
}

TEST_F(CtlProgram, ctrl_c_ends_a_scan_at_once_here_and_there) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    DeviceProfile mine = profile("iphone");
    mine.remotePairingPort = phone.port();
    serve({mine});
    fakes::OnTerminal terminal(command({"scan", "iphone"}));
    ASSERT_TRUE(world.until([&] { return terminal.text().find("ports probed") != std::string::npos; }));
    terminal.type("\x03");
    ASSERT_TRUE(world.until([&] { return terminal.hasEnded(); }));
    EXPECT_EQ(terminal.exitStatus(), 130);
    EXPECT_THAT(terminal.text(), EndsWith("\r\n")) << "the prompt gets a line of its own";
    ASSERT_TRUE(world.until([&] { return world.background.pending() == 0; }));
    world.settle();
    EXPECT_THAT(coordinator->logs().userLines(), ::testing::IsEmpty()) << "it did not come to its end";
}

TEST_F(CtlProgram, shows_colours_on_a_terminal_alone) {
    serve({profile("iphone")});
    ChildCommand coloured = command({"status"});
    coloured.environment["TERM"] = "xterm";
    coloured.environment["NO_COLOR"] = std::nullopt;
    fakes::OnTerminal terminal(coloured);
    ASSERT_TRUE(world.until([&] { return terminal.hasEnded(); }));
    EXPECT_THAT(terminal.text(), HasSubstr("\x1b[1mNAME\x1b[0m"));
    coloured.environment["NO_COLOR"] = "1";
    fakes::OnTerminal plain(coloured);
    ASSERT_TRUE(world.until([&] { return plain.hasEnded(); }));
    EXPECT_EQ(plain.text().find('\x1b'), std::string::npos);
}

TEST_F(CtlProgram, follows_the_log_until_the_server_ends) {
    serve();
    coordinator->logs().user("before");
    fakes::OnTerminal terminal(command({"log", "--follow"}));
    ASSERT_TRUE(world.until([&] { return terminal.text() == "before\r\n"; }));
    coordinator->logs().user("after \x1b[2J");
    ASSERT_TRUE(world.until([&] { return terminal.text() == "before\r\nafter \\x1b[2J\r\n"; }));
    server.reset();
    ASSERT_TRUE(world.until([&] { return terminal.hasEnded(); }));
    EXPECT_THAT(terminal.text(), EndsWith("quillbayctl: The running program has ended.\r\n"));
    EXPECT_EQ(terminal.exitStatus(), 3);
}

TEST_F(CtlProgram, ctrl_c_ends_following) {
    serve();
    coordinator->logs().user("before");
    fakes::OnTerminal terminal(command({"log", "--follow"}));
    ASSERT_TRUE(world.until([&] { return terminal.text() == "before\r\n"; }));
    terminal.type("\x03");
    ASSERT_TRUE(world.until([&] { return terminal.hasEnded(); }));
    EXPECT_EQ(terminal.exitStatus(), 130);
}

TEST_F(CtlProgram, a_reader_that_goes_away_is_no_fault) {
    serve();
    for (int count = 0; count < 200; ++count)
        coordinator->logs().user(std::string(1000, 'x'));
    const ChildProcess child = ChildProcess::launch(command({"log"}));
    child.takeStandardOutput().reset();
    ASSERT_TRUE(world.until([&] { return !child.isRunning(); }));
    EXPECT_EQ(child.waitForExit().code, 0);
    const UniqueDescriptor errors = child.takeStandardError();
    char byte = 0;
    EXPECT_EQ(::read(errors.get(), &byte, 1), 0) << "nothing is said about it";
}

TEST_F(CtlProgram, stops_following_when_nobody_reads_any_more) {
    serve();
    coordinator->logs().user("before");
    const ChildProcess child = ChildProcess::launch(command({"log", "--follow"}));
    UniqueDescriptor output = child.takeStandardOutput();
    char byte = 0;
    ASSERT_TRUE(world.until([&] { return ::read(output.get(), &byte, 1) == 1; }));
    // Without another line that could not be written.
    output.reset();
    ASSERT_TRUE(world.until([&] { return !child.isRunning(); }));
    EXPECT_EQ(child.waitForExit().code, 0);
}

TEST_F(CtlProgram, a_report_goes_to_the_folder_where_the_person_is) {
    serve();
    const std::string path = (world.folder.path() / "report.zip").string();
    expect({"report", "--to", path}, 0, "Written: " + path + "\n", "");
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(CtlProgram, does_not_trust_a_server_of_another_user) {
    if (::geteuid() != 0) return;  // only root can be two users
    serve();
    ASSERT_EQ(::chown(world.host.files.runtime.c_str(), 65534, 65534), 0);
    // The program as another user than the one whose socket it is.
    const std::string path = server->socketPath().string();
    for (auto folder = server->socketPath(); folder != world.folder.path().parent_path();
         folder = folder.parent_path())
        ASSERT_EQ(::chmod(folder.c_str(), 0777), 0);
    ChildCommand other =
        command({"-c", "exec setpriv --reuid 65534 --clear-groups \"$0\" status", QUILLBAYCTL});
    other.executable = "/bin/sh";
    auto result = std::async(std::launch::async,
                             [&] { return runToEnd(other, 65536, StopToken(), std::chrono::seconds(20)); });
    ASSERT_TRUE(
        world.until([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    const auto ended = result.get().value_or(ChildResult{});
    EXPECT_EQ(ended.status.code, 1);
    EXPECT_EQ(ended.standardError,
              "quillbayctl: The program that listens at " + path + " is another user's.\n");
}

}  // namespace
}  // namespace quillbay
