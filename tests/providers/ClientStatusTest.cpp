#include "providers/ClientStatus.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "fakes/TemporaryFolder.h"
#include "fakes/WaitUntil.h"
#include "providers/ScriptedClient.h"

namespace quillbay {
namespace {

using Case = MeshVPNProviderError::Case;
using std::chrono::seconds;
using std::chrono::steady_clock;

MeshVPNProviderError errorOf(const std::string& tool, seconds limit = clientTimeLimit) {
    return providerErrorOf([&] { readClientStatus(toolPath(tool), StopToken(), limit); });
}

TEST(ClientStatus, returns_what_the_client_printed) {
    EXPECT_EQ(readClientStatus(ScriptedClient("{\"a\": 1}\n").path(), StopToken()), "{\"a\": 1}\n");
}

TEST(ClientStatus, reports_the_status_and_standard_error_of_a_client_that_fails) {
    const auto error = errorOf("client-fails");
    EXPECT_EQ(error.errorCase(), Case::processFailed);
    EXPECT_EQ(error.status(), 1);
    EXPECT_STREQ(error.what(), "CLI exited with status 1: failed to connect to the local daemon");
}

TEST(ClientStatus, reports_a_silent_failure_by_its_status_alone) {
    EXPECT_STREQ(errorOf("client-fails-silently").what(), "CLI exited with status 7");
}

TEST(ClientStatus, leaves_out_error_text_that_is_not_utf8) {
    EXPECT_STREQ(errorOf("client-fails-in-bytes").what(), "CLI exited with status 2");
}

TEST(ClientStatus, reports_a_client_that_dies_of_a_signal) {
    const auto error = errorOf("client-crashes");
    EXPECT_EQ(error.errorCase(), Case::processFailed);
    EXPECT_EQ(error.status(), 128 + SIGSEGV);
}

TEST(ClientStatus, reports_a_client_that_cannot_be_launched) {
    const auto missing = errorOf("client-that-does-not-exist");
    EXPECT_EQ(missing.errorCase(), Case::processFailed);
    EXPECT_EQ(missing.status(), MeshVPNProviderError::noExitStatus);
    EXPECT_STREQ(missing.what(),
                 "CLI exited with status -1: POSIXErrorCode(rawValue: 2): No such file or directory");
    EXPECT_EQ(errorOf("client-without-interpreter").status(), MeshVPNProviderError::noExitStatus);
    EXPECT_STREQ(errorOf("client-not-executable").what(),
                 "CLI exited with status -1: POSIXErrorCode(rawValue: 13): Permission denied");
}

TEST(ClientStatus, gives_a_client_fifteen_seconds) {
    EXPECT_EQ(clientTimeLimit, seconds(15));
}

TEST(ClientStatus, ends_a_client_that_hangs_when_its_time_is_up) {
    const auto begin = steady_clock::now();
    const auto error = errorOf("client-hangs", seconds(1));
    EXPECT_STREQ(error.what(), "CLI exited with status -1: timed out after 1 seconds");
    EXPECT_GE(steady_clock::now() - begin, seconds(1));
    EXPECT_LT(steady_clock::now() - begin, seconds(10));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD) << "a child is left";
}

TEST(ClientStatus, ends_what_a_client_waits_for_together_with_it) {
    // As the client of an application is installed: a script that runs the real one and waits for it.
    const fakes::TemporaryFolder folder;
    const std::filesystem::path script = folder.path() / "client";
    const std::filesystem::path pids = folder.path() / "pid";
    std::ofstream(script) << "#!/bin/sh\nsleep 600 &\necho $! > '" << pids.string() << "'\nwait\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    EXPECT_STREQ(providerErrorOf([&] { readClientStatus(script.string(), StopToken(), seconds(1)); }).what(),
                 "CLI exited with status -1: timed out after 1 seconds");
    pid_t pid = 0;
    std::ifstream(pids) >> pid;
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(fakes::waitUntil([&] { return ::kill(pid, 0) != 0; }));
}

TEST(ClientStatus, ends_a_client_that_is_no_longer_wanted) {
    const StopSource source;
    std::string text;
    const auto begin = steady_clock::now();
    std::thread asker([&] {
        text = providerErrorOf([&] { readClientStatus(toolPath("client-hangs"), source.token()); }).what();
    });
    source.requestStop();
    asker.join();
    EXPECT_EQ(text, "CLI exited with status -1: no longer wanted");
    EXPECT_LT(steady_clock::now() - begin, seconds(10));
}

TEST(ClientStatus, refuses_a_flood_of_output_without_keeping_it) {
    const auto error = errorOf("client-floods");
    EXPECT_EQ(error.errorCase(), Case::decodingFailed);
    EXPECT_STREQ(error.what(), "Couldn't parse the CLI's output: more than 64 MiB of output");
}

TEST(ClientStatus, cuts_a_flood_of_error_text_between_two_characters) {
    const auto error = errorOf("client-floods-errors");
    EXPECT_EQ(error.status(), 3);
    std::string expected = "x";
    while (expected.size() < 65'535)
        expected += "\xC3\xA9";
    EXPECT_EQ(error.standardError(), expected);
}

TEST(ClientStatus, reads_both_outputs_at_the_same_time) {
    EXPECT_EQ(readClientStatus(toolPath("client-warns"), StopToken()).substr(0, 8), "{\"Peer\":");
}

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"), {});
}

TEST(ClientStatus, leaves_no_descriptor_and_no_child_behind) {
    const std::ptrdiff_t before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        errorOf("client-fails");
        errorOf("client-that-does-not-exist");
        readClientStatus(toolPath("client-only-errors"), StopToken());
    }
    // Whatever watched a child may need a moment after the child's end to let go of it.
    const auto giveUp = steady_clock::now() + seconds(10);
    while (openDescriptors() > before && steady_clock::now() < giveUp)
        std::this_thread::yield();
    EXPECT_LE(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace quillbay
