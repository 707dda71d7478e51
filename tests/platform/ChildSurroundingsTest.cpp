// What a child finds when it starts: its descriptors, limits, signals and group.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "fakes/ProcessResources.h"
#include "fakes/Tools.h"
#include "platform/ChildProcess.h"
#include "platform/DescriptorLimit.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {
namespace {

using fakes::piped;
using fakes::silent;
using fakes::toolPath;

using ChildSurroundings = fakes::LeavesNothingBehind;

/// Tests that change the whole process run in a process of their own, which ends with 0 when all is well.
using ChildSurroundingsDeathTest = ::testing::Test;

std::string printed(const std::string& executable, std::vector<std::string> arguments) {
    const auto result = runToEnd(piped(executable, std::move(arguments)), 4096, StopToken());
    return result ? result->standardOutput : "no result";
}

/// The little that a child which has ended left in its pipe.
std::string readOnce(const UniqueDescriptor& pipe) {
    std::array<char, 256> buffer{};
    const ssize_t count = ::read(pipe.get(), buffer.data(), buffer.size());
    return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : "nothing";
}

TEST_F(ChildSurroundings, a_child_inherits_no_descriptor) {
    // Born without close-on-exec, as a foreign library might open them.
    const UniqueDescriptor low(::open("/dev/null", O_RDONLY));
    const UniqueDescriptor high(::fcntl(low.get(), F_DUPFD, 500));
    ASSERT_TRUE(high.valid());
    // The last is the one by which the tool reads the directory.
    EXPECT_EQ(printed("/bin/ls", {"/proc/self/fd"}), "0\n1\n2\n3\n");
}

TEST_F(ChildSurroundings, a_child_reads_nothing_from_standard_input) {
    EXPECT_EQ(printed("/usr/bin/readlink", {"/proc/self/fd/0"}), "/dev/null\n");
    EXPECT_EQ(printed("/bin/cat", {}), "");
}

TEST_F(ChildSurroundings, outputs_that_nobody_reads_go_to_the_null_device) {
    const auto result = runToEnd({"/bin/sh",
                                  {"-c", "exec 3>&1; readlink /proc/$$/fd/3 >&2"},
                                  ChildCommand::Output::null,
                                  ChildCommand::Output::pipe},
                                 4096, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->standardError, "/dev/null\n");
    EXPECT_EQ(result->standardOutput, "");
}

TEST_F(ChildSurroundings, a_child_makes_files_with_the_mask_that_it_is_given) {
    ChildCommand command = piped("/bin/sh", {"-c", "umask"});
    const mode_t own = ::umask(022);
    command.creationMask = 077;
    const auto masked = runToEnd(command, 4096, StopToken());
    command.creationMask = std::nullopt;
    const auto unmasked = runToEnd(command, 4096, StopToken());
    ASSERT_TRUE(masked.has_value() && unmasked.has_value());
    EXPECT_EQ(masked->standardOutput, "0077\n");
    EXPECT_EQ(unmasked->standardOutput, "0022\n");
    EXPECT_EQ(::umask(own), 022U);
}

TEST_F(ChildSurroundings, a_child_leads_a_group_of_its_own) {
    const ChildProcess child = ChildProcess::launch(silent(toolPath("hangs")));
    EXPECT_EQ(::getpgid(child.pid()), child.pid());
    EXPECT_NE(::getpgid(child.pid()), ::getpgrp());
    child.terminateAndWait();
}

TEST_F(ChildSurroundings, a_child_starts_with_default_signal_handling) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    const auto pipeBefore = std::signal(SIGPIPE, SIG_IGN);
    const auto hangupBefore = std::signal(SIGHUP, SIG_IGN);
    const std::string text = printed("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"});
    std::signal(SIGPIPE, pipeBefore);
    std::signal(SIGHUP, hangupBefore);
    sigset_t after;
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, &after), 0);
    EXPECT_EQ(text,
              "SigBlk:\t0000000000000000\n"
              "SigIgn:\t0000000000000000\n");
    EXPECT_EQ(sigismember(&after, SIGUSR1), 1) << "the launch must leave the caller's mask alone";
    EXPECT_EQ(sigismember(&after, SIGUSR2), 0);
}

TEST_F(ChildSurroundings, a_child_has_this_programs_environment_with_the_changes_of_its_command) {
    ASSERT_EQ(::setenv("QUILLBAY_TEST_KEPT", "kept", 1), 0);
    ASSERT_EQ(::setenv("QUILLBAY_TEST_CHANGED", "before", 1), 0);
    ASSERT_EQ(::setenv("QUILLBAY_TEST_REMOVED", "before", 1), 0);
    ChildCommand command = piped("/bin/sh", {"-c", "env | grep ^QUILLBAY_TEST_ | sort"});
    command.environment = {{"QUILLBAY_TEST_CHANGED", "after"},
                           {"QUILLBAY_TEST_REMOVED", std::nullopt},
                           {"QUILLBAY_TEST_ADDED", "added"}};
    const auto result = runToEnd(command, 4096, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->standardOutput,
              "QUILLBAY_TEST_ADDED=added\nQUILLBAY_TEST_CHANGED=after\nQUILLBAY_TEST_KEPT=kept\n");
    for (const char* name : {"QUILLBAY_TEST_KEPT", "QUILLBAY_TEST_CHANGED", "QUILLBAY_TEST_REMOVED"})
        ::unsetenv(name);
}

TEST_F(ChildSurroundings, arguments_arrive_unchanged) {
    EXPECT_EQ(printed("/usr/bin/printf", {"<%s>", "", "a b", "k=\"v'$(x)\\", "\xF0\x9F\x93\xB1\n"}),
              "<><a b><k=\"v'$(x)\\><\xF0\x9F\x93\xB1\n>");
}

TEST(ChildSurroundingsDeathTest, a_child_has_the_limit_of_before_it_was_raised) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            rlimit limit{};
            ::getrlimit(RLIMIT_NOFILE, &limit);
            limit.rlim_cur = 321;
            ::setrlimit(RLIMIT_NOFILE, &limit);
            const bool raised =
                raiseDescriptorLimit() == limit.rlim_max && raiseDescriptorLimit() == limit.rlim_max;
            const bool remembered = originalDescriptorLimit().rlim_cur == 321;
            const std::string child = printed("/bin/sh", {"-c", "ulimit -Sn"});
            std::fprintf(stderr, "%d %d %s", raised, remembered, child.c_str());
            ::_exit(0);
        },
        ::testing::ExitedWithCode(0), "1 1 321\n");
}

TEST(ChildSurroundingsDeathTest, a_program_without_standard_descriptors_can_start_children) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            const UniqueDescriptor report(::fcntl(2, F_DUPFD_CLOEXEC, 100));
            for (int descriptor = 0; descriptor < 3; ++descriptor)
                ::close(descriptor);
            const ChildProcess child = ChildProcess::launch(
                piped("/bin/sh", {"-c", "echo out; readlink /proc/$$/fd/0; echo err >&2"}));
            static_cast<void>(child.waitForExit());
            const std::string text =
                readOnce(child.takeStandardOutput()) + readOnce(child.takeStandardError());
            ::dprintf(report.get(), "%s", text.c_str());
            ::_exit(0);
        },
        ::testing::ExitedWithCode(0), "out\n/dev/null\nerr\n");
}

TEST(ChildSurroundingsDeathTest, a_program_that_ignores_the_end_of_children_still_learns_their_status) {
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            std::signal(SIGCHLD, SIG_IGN);
            ::_exit(ChildProcess::launch(silent(toolPath("exits-with"), {"7"})).waitForExit().code);
        },
        ::testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace quillbay
