// The real program. It runs in a space of process ids of its own: at its start it ends every proxy
// registration that it sees, and it must see nobody else's.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "core/Version.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/WaitUntil.h"
#include "platform/ChildProcess.h"
#include "platform/ForkedChild.h"
#include "platform/RuntimeFolder.h"
#include "profile/DeviceProfileStore.h"

namespace quillbay {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::size_t limitBytes = 65536;

class AgentProgram : public ::testing::Test {
 protected:
    [[nodiscard]] std::map<std::string, std::optional<std::string>> surroundings() const {
        const std::string home = folder.path().string();
        return {{"HOME", home},
                {"XDG_RUNTIME_DIR", home},
                {"XDG_DATA_HOME", home + "/data"},
                {"XDG_CONFIG_HOME", home + "/config"}};
    }

    [[nodiscard]] ChildCommand agent(const std::vector<std::string>& arguments = {}) const {
        std::vector<std::string> words{"--pid", "--net", "--fork", "--kill-child=SIGKILL", "--mount-proc"};
        if (::geteuid() != 0) words.emplace_back("--map-root-user");
        words.emplace_back(QUILLBAY_AGENT);
        words.insert(words.end(), arguments.begin(), arguments.end());
        return {"/usr/bin/unshare", words, ChildCommand::Output::null, ChildCommand::Output::pipe,
                surroundings()};
    }

    static ChildResult run(ChildCommand command) {
        command.standardOutput = ChildCommand::Output::pipe;
        const auto result = runToEnd(command, limitBytes, StopToken(), std::chrono::seconds(20));
        if (!result) ADD_FAILURE() << "the program does not end";
        return result.value_or(ChildResult{});
    }

    [[nodiscard]] ChildResult ctl(const std::vector<std::string>& words) const {
        return run(
            {QUILLBAYCTL, words, ChildCommand::Output::pipe, ChildCommand::Output::pipe, surroundings()});
    }

    [[nodiscard]] bool isServed() const { return ctl({"status"}).status.code == 0; }

    /// An agent that answers.
    [[nodiscard]] ChildProcess startAgent() const {
        ChildProcess child = ChildProcess::launch(agent());
        EXPECT_TRUE(fakes::waitUntil([&] { return isServed(); }));
        return child;
    }

    /// The agent itself, which is a child of the program that gave it its surroundings.
    static pid_t agentOf(const ChildProcess& child) {
        const std::string pid = std::to_string(child.pid());
        std::ifstream file("/proc/" + pid + "/task/" + pid + "/children");
        pid_t found = -1;
        file >> found;
        return found;
    }

    /// A paired phone, "phone.local", in the agent's files.
    void savePhone(const std::string& displayName) const {
        FileLocations files;
        files.applicationSupport = folder.path() / "data";
        DeviceProfile phone = DeviceProfile::draft(displayName);
        phone.bonjourHost = "phone.local";
        phone.providerID = "manual";
        DeviceProfileStore(files, "Quillbay").save({phone});
    }

    [[nodiscard]] std::filesystem::path socket() const { return controlSocketPath(folder.path()); }

    fakes::TemporaryFolder folder;
};

TEST_F(AgentProgram, prints_help_and_version) {
    const ChildResult help = run({QUILLBAY_AGENT, {"--help"}});
    EXPECT_EQ(help.status.code, 0);
    EXPECT_THAT(help.standardOutput, StartsWith("usage: quillbay-agent [--help | --version]\n"));
    const ChildResult version = run({QUILLBAY_AGENT, {"--version"}});
    EXPECT_EQ(version.status.code, 0);
    EXPECT_EQ(version.standardOutput, std::string("quillbay-agent ") + applicationVersion() + "\n");
}

TEST_F(AgentProgram, refuses_wrong_usage_with_status_2) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--fly"}, {"start"}, {"--help", "--version"}}) {
        const ChildResult result =
            run({QUILLBAY_AGENT, words, ChildCommand::Output::pipe, ChildCommand::Output::pipe});
        EXPECT_EQ(result.status.code, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_THAT(result.standardError, StartsWith("usage: quillbay-agent [--help | --version]\n"));
    }
}

TEST_F(AgentProgram, says_that_the_user_has_no_home) {
    if (::geteuid() != 0) return;  // only root can become a user whom no database knows
    constexpr uid_t unknown = 3'999'999'999;
    // That user may not get to where it was built.
    const std::filesystem::path copy = folder.path() / "quillbay-agent";
    std::filesystem::copy_file(QUILLBAY_AGENT, copy);
    ASSERT_EQ(::chown(folder.path().c_str(), unknown, unknown), 0);
    inChild([&] {
        ASSERT_EQ(::setuid(unknown), 0);
        const ChildResult result = run({copy.string(),
                                        {},
                                        ChildCommand::Output::pipe,
                                        ChildCommand::Output::pipe,
                                        {{"HOME", std::nullopt},
                                         {"XDG_DATA_HOME", std::nullopt},
                                         {"XDG_CONFIG_HOME", std::nullopt},
                                         {"XDG_RUNTIME_DIR", folder.path().string()}}});
        EXPECT_EQ(result.status.code, 1);
        EXPECT_EQ(result.standardError, "quillbay-agent: This user has no home directory.\n");
    });
}

TEST_F(AgentProgram, serves_until_it_is_asked_to_end) {
    const ChildProcess first = startAgent();
    EXPECT_THAT(ctl({"status"}).standardOutput, HasSubstr("No phone is paired.\n"));
    ASSERT_EQ(::kill(agentOf(first), SIGTERM), 0);
    EXPECT_EQ(first.waitForExit().code, 0);
    EXPECT_FALSE(std::filesystem::exists(socket()));
    EXPECT_EQ(ctl({"status"}).status.code, 3);
}

TEST_F(AgentProgram, a_second_one_says_so_and_leaves_the_first_alone) {
    const ChildProcess first = startAgent();
    const ChildResult second = run(agent());
    EXPECT_EQ(second.status.code, 1);
    EXPECT_EQ(second.standardOutput, "");
    // In its own space of process ids the first one is process 1.
    EXPECT_EQ(second.standardError, "quillbay-agent: Quillbay is running already (process 1).\n");
    EXPECT_TRUE(first.isRunning());
    EXPECT_TRUE(isServed());
    first.terminateAndWait(std::chrono::milliseconds(0));
}

TEST_F(AgentProgram, takes_the_place_of_one_that_was_killed) {
    const ChildProcess first = startAgent();
    ASSERT_EQ(::kill(agentOf(first), SIGKILL), 0);
    static_cast<void>(first.waitForExit());
    ASSERT_TRUE(std::filesystem::is_socket(socket())) << "it had no time to tidy up";
    EXPECT_EQ(ctl({"status"}).status.code, 3);
    const ChildProcess second = startAgent();
    ASSERT_EQ(::kill(agentOf(second), SIGTERM), 0);
    EXPECT_EQ(second.waitForExit().code, 0);
}

TEST_F(AgentProgram, a_reader_of_its_lines_that_does_not_read_holds_nothing_up) {
    savePhone(std::string(5000, 'x'));
    ChildCommand command = agent();
    command.standardOutput = ChildCommand::Output::pipe;
    const ChildProcess child = ChildProcess::launch(command);
    const UniqueDescriptor output = child.takeStandardOutput();
    constexpr int smallestPipe = 4096;
    ASSERT_GE(::fcntl(output.get(), F_SETPIPE_SZ, smallestPipe), smallestPipe);
    ASSERT_TRUE(fakes::waitUntil([&] { return isServed(); }));
    for (int count = 0; count < 3; ++count)
        ASSERT_EQ(ctl({"start", "phone.local"}).status.code, 0);
    EXPECT_TRUE(isServed());
    ASSERT_EQ(::kill(agentOf(child), SIGTERM), 0);
    ASSERT_TRUE(fakes::waitUntil([&] { return !child.isRunning(); }));
    EXPECT_EQ(child.waitForExit().code, 0);
}

TEST_F(AgentProgram, a_name_gives_the_terminal_no_orders) {
    savePhone("phone\x1b[2J\nBridge is successful.");
    ChildCommand command = agent();
    command.standardOutput = ChildCommand::Output::pipe;
    const ChildProcess child = ChildProcess::launch(command);
    const UniqueDescriptor output = child.takeStandardOutput();
    ASSERT_TRUE(fakes::waitUntil([&] { return isServed(); }));
    ASSERT_EQ(ctl({"start", "phone.local"}).status.code, 0);
    std::string printed;
    EXPECT_TRUE(fakes::waitUntil([&] {
        char bytes[256];
        if (const ssize_t count = ::read(output.get(), bytes, sizeof bytes); count > 0)
            printed.append(bytes, static_cast<std::size_t>(count));
        return printed.find('\n') != std::string::npos;
    }));
    EXPECT_THAT(printed, StartsWith("Bridging to \"phone\\x1b[2J\\nBridge is successful.\"\n"));
    ASSERT_EQ(::kill(agentOf(child), SIGTERM), 0);
    EXPECT_EQ(child.waitForExit().code, 0);
}

TEST_F(AgentProgram, refuses_a_folder_that_others_can_get_into) {
    const std::filesystem::path shared = folder.path() / "quillbay";
    std::filesystem::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 0755), 0);
    const ChildResult result = run(agent());
    EXPECT_EQ(result.status.code, 1);
    EXPECT_EQ(result.standardError, "quillbay-agent: Other users can get into the folder " + shared.string() +
                                        " (mode 0755, not 0700).\n");
}

}  // namespace
}  // namespace quillbay
