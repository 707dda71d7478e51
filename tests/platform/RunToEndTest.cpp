#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <system_error>

#include "fakes/ProcessResources.h"
#include "fakes/Tools.h"
#include "platform/ChildProcess.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using fakes::piped;
using fakes::silent;
using fakes::toolPath;

using RunToEnd = fakes::LeavesNothingBehind;

constexpr std::size_t plenty = std::size_t{1} << 20U;

TEST_F(RunToEnd, returns_status_and_both_outputs) {
    const auto result =
        runToEnd(piped("/bin/sh", {"-c", "printf out; printf err >&2; exit 5"}), plenty, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->status.code, 5);
    EXPECT_EQ(result->standardOutput, "out");
    EXPECT_EQ(result->standardError, "err");
    EXPECT_FALSE(result->truncated);
}

TEST_F(RunToEnd, works_without_pipes) {
    const auto result = runToEnd(silent(toolPath("exits-with"), {"3"}), plenty, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->status.code, 3);
    EXPECT_EQ(result->standardOutput, "");
}

TEST_F(RunToEnd, throws_when_the_tool_cannot_be_launched) {
    EXPECT_THROW(runToEnd(piped("/nonexistent/tool"), plenty, StopToken()), std::system_error);
}

TEST_F(RunToEnd, is_not_blocked_by_a_tool_that_floods_one_pipe_before_the_other) {
    const auto result = runToEnd(piped(toolPath("floods-both"), {"1000000"}), plenty, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->standardOutput, std::string(1'000'000, 'o'));
    EXPECT_EQ(result->standardError, std::string(1'000'000, 'e'));
    EXPECT_FALSE(result->truncated);
}

TEST_F(RunToEnd, keeps_no_more_than_the_limit_of_each_output) {
    const auto result = runToEnd(piped(toolPath("floods-both"), {"300000"}), 1000, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(result->status.success());
    EXPECT_EQ(result->standardOutput, std::string(1000, 'o'));
    EXPECT_EQ(result->standardError, std::string(1000, 'e'));
    EXPECT_TRUE(result->truncated);
}

TEST_F(RunToEnd, does_not_call_an_output_of_exactly_the_limit_truncated) {
    const auto result = runToEnd(piped("/usr/bin/printf", {"12345"}), 5, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->standardOutput, "12345");
    EXPECT_FALSE(result->truncated);
}

TEST_F(RunToEnd, passes_bytes_that_are_no_text_through) {
    const auto result = runToEnd(piped("/usr/bin/printf", {R"(a\377\000\303b)"}), plenty, StopToken());
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->standardOutput, std::string("a\xFF\0\xC3"
                                                  "b",
                                                  5));
}

TEST_F(RunToEnd, ends_the_child_when_the_time_is_up) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(runToEnd(piped(toolPath("hangs")), plenty, StopToken(), 50ms).has_value());
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, 50ms);
    EXPECT_LT(took, 5s);
    EXPECT_FALSE(fakes::hasChildren());
}

TEST_F(RunToEnd, ends_a_child_that_ignores_the_request_soon) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(runToEnd(piped(toolPath("ignores-sigterm")), plenty, StopToken(), 200ms).has_value());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_FALSE(fakes::hasChildren());
}

TEST_F(RunToEnd, ends_the_child_when_the_token_is_stopped) {
    const StopSource source;
    auto result = std::async(std::launch::async,
                             [&] { return runToEnd(silent(toolPath("hangs")), plenty, source.token()); });
    EXPECT_EQ(result.wait_for(20ms), std::future_status::timeout);
    source.requestStop();
    ASSERT_EQ(result.wait_for(5s), std::future_status::ready);
    EXPECT_FALSE(result.get().has_value());
    EXPECT_FALSE(fakes::hasChildren());
}

TEST_F(RunToEnd, ends_a_flooding_child_when_the_token_is_stopped) {
    const StopSource source;
    auto result =
        std::async(std::launch::async, [&] { return runToEnd(piped("/usr/bin/yes"), 10, source.token()); });
    EXPECT_EQ(result.wait_for(20ms), std::future_status::timeout);
    source.requestStop();
    ASSERT_EQ(result.wait_for(5s), std::future_status::ready);
    EXPECT_FALSE(result.get().has_value());
}

TEST_F(RunToEnd, starts_nothing_lasting_when_the_token_is_stopped_already) {
    const StopSource source;
    source.requestStop();
    EXPECT_FALSE(runToEnd(piped(toolPath("hangs")), plenty, source.token()).has_value());
    EXPECT_FALSE(fakes::hasChildren());
}

TEST_F(RunToEnd, does_not_wait_for_what_the_tool_left_running) {
    const auto begin = std::chrono::steady_clock::now();
    const auto result = runToEnd(piped(toolPath("leaves-background-child")), plenty, StopToken());
    const auto took = std::chrono::steady_clock::now() - begin;
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(result->status.success());
    EXPECT_EQ(result->standardOutput, "done\n");
    EXPECT_GE(took, 1s);
    EXPECT_LT(took, 10s);
}

}  // namespace
}  // namespace quillbay
