#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <system_error>
#include <thread>

#include "fakes/ProcessResources.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/Tools.h"
#include "fakes/WaitUntil.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using fakes::hasChildren;
using fakes::openDescriptors;
using fakes::piped;
using fakes::silent;
using fakes::toolPath;
using fakes::waitUntil;

using ChildProcessTest = fakes::LeavesNothingBehind;

/// Reads what the child prints until `text` has come, so that the child is known to have got that far.
bool waitForOutput(int descriptor, const std::string& text) {
    std::string seen;
    return waitUntil([&] {
        std::array<char, 256> buffer{};
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count > 0) seen.append(buffer.data(), static_cast<std::size_t>(count));
        return seen.find(text) != std::string::npos;
    });
}

bool reachesItsEnd(int descriptor) {
    return waitUntil([&] {
        std::array<char, 256> buffer{};
        return ::read(descriptor, buffer.data(), buffer.size()) == 0;
    });
}

int launchError(const ChildCommand& command) {
    try {
        static_cast<void>(ChildProcess::launch(command));
        return 0;
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().category(), std::generic_category());
        return error.code().value();
    }
}

TEST_F(ChildProcessTest, throws_for_a_tool_that_is_missing) {
    EXPECT_EQ(launchError(piped("/nonexistent/tool")), ENOENT);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildProcessTest, throws_for_a_tool_that_is_not_executable) {
    const fakes::TemporaryFolder folder;
    const std::string tool = (folder.path() / "tool").string();
    std::ofstream(tool) << "#!/bin/sh\nexit 0\n";
    EXPECT_EQ(launchError(piped(tool)), EACCES);
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    EXPECT_EQ(launchError(piped(tool)), 0);
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST_F(ChildProcessTest, throws_for_a_directory) {
    EXPECT_EQ(launchError(piped("/usr/bin")), EACCES);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildProcessTest, throws_for_a_text_file_without_an_interpreter) {
    EXPECT_EQ(launchError(piped(toolPath("without-interpreter-line"))), ENOEXEC);
    EXPECT_EQ(launchError(piped(toolPath("with-missing-interpreter"))), ENOENT);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildProcessTest, throws_for_arguments_that_are_too_long) {
    EXPECT_EQ(launchError(silent("/bin/true", {std::string(4 << 20, 'x')})), E2BIG);
}

TEST_F(ChildProcessTest, refuses_an_argument_with_a_zero_byte) {
    EXPECT_EQ(launchError(silent("/bin/true", {std::string("a\0b", 3)})), EINVAL);
}

TEST_F(ChildProcessTest, throws_when_descriptors_have_run_out) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const UniqueDescriptor lowestFree(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::size_t descriptors = openDescriptors();
    // Each round leaves one descriptor more, so that every step of the launch is the one that fails.
    std::vector<int> codes;
    for (rlim_t spare = 1; spare < 32; ++spare) {
        rlimit tight = before;
        tight.rlim_cur = static_cast<rlim_t>(lowestFree.get()) + spare;
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        const int code = launchError(piped("/bin/true"));
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
        EXPECT_EQ(openDescriptors(), descriptors);
        if (code == 0) break;
        codes.push_back(code);
    }
    // The null device, two outputs of two ends each, two ends for the failure; more where the test was
    // started with descriptors beyond the lowest free one.
    EXPECT_THAT(codes, ::testing::SizeIs(::testing::Ge(7)));
    EXPECT_THAT(codes, ::testing::SizeIs(::testing::Lt(31)));
    EXPECT_THAT(codes, ::testing::Each(EMFILE));
}

TEST_F(ChildProcessTest, tells_the_exit_status) {
    const ChildProcess child = ChildProcess::launch(silent(toolPath("exits-with"), {"7"}));
    const ExitStatus status = child.waitForExit();
    EXPECT_EQ(status.code, 7);
    EXPECT_EQ(status.signal, 0);
    EXPECT_FALSE(status.success());
    EXPECT_FALSE(child.isRunning());
    EXPECT_TRUE(ChildProcess::launch(silent("/bin/true")).waitForExit().success());
}

TEST_F(ChildProcessTest, tells_the_signal_that_ended_the_child) {
    const ExitStatus status = ChildProcess::launch(silent(toolPath("ends-by-signal"), {"9"})).waitForExit();
    EXPECT_EQ(status.code, 137);
    EXPECT_EQ(status.signal, 9);
    EXPECT_EQ(ChildProcess::launch(silent(toolPath("ends-by-signal"), {"15"})).waitForExit().code, 143);
}

TEST_F(ChildProcessTest, reaps_the_child_before_it_says_that_it_has_ended) {
    const ChildProcess child = ChildProcess::launch(silent(toolPath("exits-with"), {"0"}));
    EXPECT_TRUE(waitUntil([&] { return !child.isRunning(); }));
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildProcessTest, terminates_without_waiting) {
    const ChildProcess child = ChildProcess::launch(piped(toolPath("hangs")));
    const UniqueDescriptor output = child.takeStandardOutput();
    ASSERT_TRUE(waitForOutput(output.get(), "ready\n"));
    EXPECT_TRUE(child.isRunning());
    child.terminate();
    const ExitStatus status = child.waitForExit();
    EXPECT_EQ(status.signal, SIGTERM);
    EXPECT_EQ(status.code, 143);
    child.terminate();
    EXPECT_EQ(child.terminateAndWait().code, 143);
}

TEST_F(ChildProcessTest, kills_the_whole_group_of_a_child_that_ignores_the_request) {
    const ChildProcess child = ChildProcess::launch(piped(toolPath("ignores-sigterm")));
    const UniqueDescriptor output = child.takeStandardOutput();
    ASSERT_TRUE(waitForOutput(output.get(), "ready\n"));
    const auto begin = std::chrono::steady_clock::now();
    const ExitStatus status = child.terminateAndWait(100ms);
    EXPECT_EQ(status.code, 137);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    EXPECT_TRUE(reachesItsEnd(output.get())) << "the child's own child still holds the pipe";
}

TEST_F(ChildProcessTest, kills_a_child_that_is_stopped) {
    const ChildProcess child = ChildProcess::launch(piped(toolPath("hangs")));
    const UniqueDescriptor output = child.takeStandardOutput();
    ASSERT_TRUE(waitForOutput(output.get(), "ready\n"));
    ASSERT_EQ(::kill(child.pid(), SIGSTOP), 0);
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid()), &info, WSTOPPED), 0);
    EXPECT_TRUE(child.isRunning());
    EXPECT_EQ(child.terminateAndWait(50ms).code, 137);
}

TEST_F(ChildProcessTest, stops_waiting_when_the_token_is_stopped) {
    const ChildProcess child = ChildProcess::launch(silent(toolPath("hangs")));
    const StopSource source;
    auto waiting = std::async(std::launch::async, [&] { return child.waitForExit(source.token()); });
    EXPECT_EQ(waiting.wait_for(20ms), std::future_status::timeout);
    source.requestStop();
    ASSERT_EQ(waiting.wait_for(20s), std::future_status::ready);
    EXPECT_FALSE(waiting.get().has_value());
    EXPECT_TRUE(child.isRunning());
    EXPECT_FALSE(child.waitForExit(source.token()).has_value());
    child.terminateAndWait();
    EXPECT_EQ(child.waitForExit(source.token()).value().code, 143);
}

TEST_F(ChildProcessTest, waits_for_the_end_when_the_token_is_not_stopped) {
    const StopSource source;
    EXPECT_EQ(ChildProcess::launch(silent("/bin/true")).waitForExit(source.token()).value().code, 0);
    EXPECT_EQ(ChildProcess::launch(silent("/bin/true")).waitForExit(StopToken()).value().code, 0);
}

TEST_F(ChildProcessTest, runs_each_exit_handler_once) {
    std::promise<ExitStatus> first;
    std::atomic<int> calls = 0;
    const ChildProcess child = ChildProcess::launch(silent(toolPath("hangs")));
    child.onExit([&](ExitStatus) { ++calls; });
    child.onExit([&](ExitStatus status) { first.set_value(status); });
    child.terminate();
    auto future = first.get_future();
    ASSERT_EQ(future.wait_for(20s), std::future_status::ready);
    EXPECT_EQ(future.get().signal, SIGTERM);
    std::thread::id thread;
    child.onExit([&](ExitStatus status) {
        ++calls;
        EXPECT_EQ(status.code, 143);
        thread = std::this_thread::get_id();
    });
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(calls, 2);
}

TEST_F(ChildProcessTest, leaves_no_zombie_when_the_last_copy_is_dropped) {
    {
        const ChildProcess child = ChildProcess::launch(piped(toolPath("exits-with"), {"0"}));
        const ChildProcess copy = child;
        EXPECT_EQ(copy.pid(), child.pid());
    }
    EXPECT_TRUE(waitUntil([] { return !hasChildren(); }));
}

TEST_F(ChildProcessTest, goes_on_when_the_last_copy_is_dropped_and_closes_its_pipes) {
    const std::size_t descriptors = openDescriptors();
    pid_t pid = 0;
    {
        const ChildProcess child = ChildProcess::launch(piped(toolPath("ignores-sigterm")));
        pid = child.pid();
        EXPECT_EQ(openDescriptors(), descriptors + 2);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(::kill(pid, 0), 0);
    EXPECT_EQ(::kill(-pid, SIGKILL), 0);
}

TEST_F(ChildProcessTest, hands_out_each_pipe_once_and_none_that_was_not_asked_for) {
    const ChildProcess child = ChildProcess::launch(piped("/bin/echo", {"text"}));
    const UniqueDescriptor output = child.takeStandardOutput();
    EXPECT_TRUE(output.valid());
    EXPECT_NE(::fcntl(output.get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(::fcntl(output.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(child.takeStandardOutput().valid());
    EXPECT_TRUE(child.takeStandardError().valid());
    EXPECT_TRUE(waitForOutput(output.get(), "text\n"));
    const ChildProcess quiet = ChildProcess::launch(silent("/bin/echo", {"text"}));
    EXPECT_FALSE(quiet.takeStandardOutput().valid());
    EXPECT_FALSE(quiet.takeStandardError().valid());
    EXPECT_TRUE(quiet.waitForExit().success());
    static_cast<void>(child.waitForExit());
}

TEST_F(ChildProcessTest, runs_200_children_at_once) {
    std::vector<ChildProcess> children;
    for (int i = 0; i < 200; ++i)
        children.push_back(ChildProcess::launch(silent(toolPath("hangs"))));
    for (const ChildProcess& child : children)
        EXPECT_TRUE(child.isRunning());
    for (const ChildProcess& child : children)
        child.terminate();
    for (const ChildProcess& child : children)
        EXPECT_EQ(child.waitForExit().code, 143);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ChildProcessTest, can_be_used_from_many_threads) {
    std::vector<std::thread> threads;
    std::atomic<int> ended = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&ended] {
            for (int round = 0; round < 10; ++round) {
                const ChildProcess child = ChildProcess::launch(piped(toolPath("exits-with"), {"3"}));
                std::thread other([child] { child.terminate(); });
                const ExitStatus status = child.waitForExit();
                if (status.code == 3 || status.signal == SIGTERM) ++ended;
                EXPECT_EQ(child.terminateAndWait().code, status.code);
                other.join();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(ended, 40);
}

}  // namespace
}  // namespace quillbay
