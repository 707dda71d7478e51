#include "discovery/DeviceCtlRunner.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <system_error>
#include <thread>

#include "fakes/Leaks.h"
#include "fakes/TemporaryFolder.h"
#include "platform/NetworkThreads.h"

namespace quillbay {
namespace {

using std::chrono::milliseconds;

class DeviceCtlRunnerTest : public testing::Test {
 protected:
    HostTools tools(const std::string& manner, const std::string& content = {}) {
        file_ = folder_.path() / "file";
        if (!content.empty()) std::ofstream(file_) << content;
        HostTools tools;
        tools.xcrun = {QUILLBAY_TEST_TOOLS "/fake-xcrun", {manner, file_.string()}};
        return tools;
    }

    std::vector<std::string> linesOf(const std::string& content) {
        DeviceCtlRunner runner(tools("prints", content), network_.queueFor(0, "test"));
        std::vector<std::string> lines;
        std::promise<void> ended;
        runner.onOutputLine = [&](const std::string& line) { lines.push_back(line); };
        runner.onOutputEnd = [&] { ended.set_value(); };
        runner.start({"device", "info"});
        EXPECT_EQ(ended.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
        const auto status = runner.waitForExit({});
        EXPECT_TRUE(status && status->success());
        return lines;
    }

    fakes::TemporaryFolder folder_;
    std::filesystem::path file_;
    NetworkThreads network_{1};
};

TEST_F(DeviceCtlRunnerTest, hands_on_each_line_of_the_output) {
    EXPECT_EQ(linesOf("one\n\ntwo words\nthree"),
              (std::vector<std::string>{"one", "", "two words", "three"}));
}

TEST_F(DeviceCtlRunnerTest, hands_on_many_lines_whole_and_in_order) {
    std::string content;
    for (int i = 0; i < 50000; ++i)
        content += "line " + std::to_string(i) + "\n";
    const auto lines = linesOf(content);
    ASSERT_EQ(lines.size(), 50000U);
    EXPECT_EQ(lines[12345], "line 12345");
    EXPECT_EQ(lines.back(), "line 49999");
}

TEST_F(DeviceCtlRunnerTest, a_stop_ends_the_child_and_the_calls) {
    DeviceCtlRunner runner(tools("hangs"), network_.queueFor(0, "test"));
    bool called = false;
    runner.onOutputLine = [&](const std::string&) { called = true; };
    runner.onOutputEnd = [&] { called = true; };
    runner.start({"device", "info"});
    runner.stop();
    runner.stop();
    const auto status = runner.waitForExit({});
    ASSERT_TRUE(status);
    EXPECT_EQ(status->signal, SIGTERM);
    network_.drain();
    EXPECT_FALSE(called);
}

TEST_F(DeviceCtlRunnerTest, a_missing_tool_throws_the_launch_error) {
    HostTools missing;
    missing.xcrun.executable = "/nonexistent/xcrun";
    DeviceCtlRunner runner(missing, network_.queueFor(0, "test"));
    EXPECT_THROW(runner.start({"list"}), std::system_error);
    EXPECT_FALSE(runner.waitForExit({}));
}

}  // namespace
}  // namespace quillbay
