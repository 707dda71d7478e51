#include "core/AppLogStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "fakes/ManualClock.h"
#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AppLogStoreTest : public testing::Test {
 protected:
    AppLogStoreTest() {
        ::setenv("TZ", "UTC0", 1);
        // 2025-03-14 09:26:53.589 UTC.
        clock_.advance(std::chrono::milliseconds(41'944'413'589));
    }

    [[nodiscard]] FileLocations files() const {
        return {.applicationSupport = folder_.path() / "support",
                .configuration = folder_.path() / "configuration",
                .temporary = folder_.path(),
                .runtime = folder_.path()};
    }
    [[nodiscard]] std::filesystem::path path() const {
        return folder_.path() / "support" / "Quillbay" / "diagnostics.log";
    }
    [[nodiscard]] std::string content() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void setContent(const std::string& text) const {
        std::filesystem::create_directories(path().parent_path());
        std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;
    }

    fakes::TemporaryFolder folder_;
    fakes::ManualClock clock_;
};

TEST_F(AppLogStoreTest, writes_a_diagnostic_line_with_its_time) {
    AppLogStore logs(files(), clock_);
    logs.diagnostic("Quillbay started");
    clock_.advance(std::chrono::milliseconds(11));
    logs.diagnostic("");
    EXPECT_THAT(logs.diagnosticLines(),
                ElementsAre("2025-03-14 09:26:53.589  Quillbay started", "2025-03-14 09:26:53.600  "));
    EXPECT_THAT(logs.userLines(), IsEmpty());
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    EXPECT_EQ(content(), "2025-03-14 09:26:53.589  Quillbay started\n2025-03-14 09:26:53.600  \n");
}

TEST_F(AppLogStoreTest, writes_a_user_line_to_both_streams) {
    AppLogStore logs(files(), clock_);
    logs.user("Bridge is successful.");
    EXPECT_THAT(logs.userLines(), ElementsAre("Bridge is successful."));
    EXPECT_THAT(logs.diagnosticLines(), ElementsAre("2025-03-14 09:26:53.589  USER  Bridge is successful."));
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    EXPECT_EQ(content(), "2025-03-14 09:26:53.589  USER  Bridge is successful.\n");
}

TEST_F(AppLogStoreTest, drops_the_oldest_user_line_at_the_201st_and_writes_them_all) {
    AppLogStore logs(files(), clock_);
    for (int i = 0; i < 200; ++i)
        logs.user(std::to_string(i));
    EXPECT_EQ(logs.userLines().size(), 200U);
    EXPECT_EQ(logs.userLines().front(), "0");
    logs.user("200");
    EXPECT_EQ(logs.userLines().size(), 200U);
    EXPECT_EQ(logs.userLines().front(), "1");
    EXPECT_EQ(logs.userLines().back(), "200");
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    std::string expected;
    for (int i = 0; i <= 200; ++i)
        expected += "2025-03-14 09:26:53.589  USER  " + std::to_string(i) + "\n";
    EXPECT_EQ(content(), expected);
}

TEST_F(AppLogStoreTest, drops_the_oldest_diagnostic_line_at_the_5001st) {
    AppLogStore logs(files(), clock_);
    for (int i = 0; i < 5000; ++i)
        logs.diagnostic(std::to_string(i));
    EXPECT_EQ(logs.diagnosticLines().size(), 5000U);
    EXPECT_EQ(logs.diagnosticLines().front(), "2025-03-14 09:26:53.589  0");
    logs.diagnostic("5000");
    EXPECT_EQ(logs.diagnosticLines().size(), 5000U);
    EXPECT_EQ(logs.diagnosticLines().front(), "2025-03-14 09:26:53.589  1");
    EXPECT_EQ(logs.diagnosticLines().back(), "2025-03-14 09:26:53.589  5000");
}

TEST_F(AppLogStoreTest, creates_the_folder_and_the_file_of_a_fresh_installation) {
    AppLogStore logs(files(), clock_);
    EXPECT_EQ(logs.fileURL(), path());
    EXPECT_THAT(logs.diagnosticLines(), IsEmpty());
    logs.diagnostic("first");
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    struct stat status{};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(::stat(path().parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(AppLogStoreTest, loads_the_lines_of_earlier_runs_with_the_empty_one_at_the_end) {
    {
        AppLogStore logs(files(), clock_);
        logs.user("a");
        logs.diagnostic("b");
    }
    AppLogStore logs(files(), clock_);
    EXPECT_THAT(logs.diagnosticLines(),
                ElementsAre("2025-03-14 09:26:53.589  USER  a", "2025-03-14 09:26:53.589  b", ""));
    EXPECT_THAT(logs.userLines(), IsEmpty());
    logs.diagnostic("c");
    EXPECT_EQ(logs.diagnosticLines().size(), 4U);
}

TEST_F(AppLogStoreTest, loads_the_last_5000_pieces_of_a_long_file) {
    std::string text;
    for (int i = 0; i < 6000; ++i)
        text += std::to_string(i) + "\n";
    setContent(text);
    const AppLogStore logs(files(), clock_);
    EXPECT_EQ(logs.diagnosticLines().size(), 5000U);
    EXPECT_EQ(logs.diagnosticLines().front(), "1001");
    EXPECT_EQ(logs.diagnosticLines().at(4998), "5999");
    EXPECT_EQ(logs.diagnosticLines().back(), "");
}

TEST_F(AppLogStoreTest, keeps_every_piece_of_a_short_file) {
    const auto linesOf = [this](const std::string& text) {
        setContent(text);
        return AppLogStore(files(), clock_).diagnosticLines();
    };
    EXPECT_THAT(linesOf(""), IsEmpty());
    EXPECT_THAT(linesOf("\n"), ElementsAre("", ""));
    EXPECT_THAT(linesOf("\n\na"), ElementsAre("", "", "a"));
    EXPECT_THAT(linesOf("a\r\nb"), ElementsAre("a\r", "b"));
    std::string exactly;
    for (int i = 0; i < 4999; ++i)
        exactly += "x\n";
    EXPECT_EQ(linesOf(exactly).size(), 5000U);
}

TEST_F(AppLogStoreTest, ignores_a_file_that_is_not_utf8_and_goes_on_writing_to_it) {
    setContent("caf\xE9\n");
    AppLogStore logs(files(), clock_);
    EXPECT_THAT(logs.diagnosticLines(), IsEmpty());
    logs.diagnostic("x");
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    EXPECT_EQ(content(), "caf\xE9\n2025-03-14 09:26:53.589  x\n");
}

TEST_F(AppLogStoreTest, keeps_a_message_with_line_feeds_as_one_line_until_the_next_start) {
    {
        AppLogStore logs(files(), clock_);
        logs.diagnostic("one\ntwo");
        EXPECT_THAT(logs.diagnosticLines(), ElementsAre("2025-03-14 09:26:53.589  one\ntwo"));
    }
    const AppLogStore logs(files(), clock_);
    EXPECT_THAT(logs.diagnosticLines(), ElementsAre("2025-03-14 09:26:53.589  one", "two", ""));
}

TEST_F(AppLogStoreTest, keeps_its_file_readable_whatever_it_is_told) {
    {
        AppLogStore logs(files(), clock_);
        logs.user("caf\xE9");
        EXPECT_THAT(logs.userLines(), ElementsAre("caf\uFFFD"));
    }
    const AppLogStore logs(files(), clock_);
    EXPECT_THAT(logs.diagnosticLines(), ElementsAre("2025-03-14 09:26:53.589  USER  caf\uFFFD", ""));
}

TEST_F(AppLogStoreTest, trims_the_file_and_not_the_memory) {
    setContent(std::string(2'097'152, 'x'));
    AppLogStore logs(files(), clock_);
    logs.diagnostic("end");
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    const std::string line = "2025-03-14 09:26:53.589  end\n";
    EXPECT_EQ(content(), std::string(1'048'576 - line.size(), 'x') + line);
    EXPECT_EQ(logs.diagnosticLines().front().size(), 2'097'152U);
}

TEST_F(AppLogStoreTest, works_in_memory_where_there_is_no_folder) {
    std::ofstream(folder_.path() / "support") << "in the way";
    AppLogStore logs(files(), clock_);
    logs.user("a");
    ASSERT_TRUE(logs.flush(std::chrono::seconds(60)));
    EXPECT_THAT(logs.userLines(), ElementsAre("a"));
    EXPECT_EQ(logs.diagnosticLines().size(), 1U);
}

TEST_F(AppLogStoreTest, tells_its_observer_before_the_user_lines_change) {
    AppLogStore logs(files(), clock_);
    std::vector<std::size_t> sizes;
    const Subscription subscription =
        logs.userLinesWillChange.add([&] { sizes.push_back(logs.userLines().size()); });
    logs.user("a");
    logs.diagnostic("b");
    logs.user("c");
    EXPECT_THAT(sizes, ElementsAre(0U, 1U));
}

TEST_F(AppLogStoreTest, hands_out_every_line_after_recording_it) {
    AppLogStore logs(files(), clock_);
    std::vector<std::string> heard;
    const Subscription user = logs.userLineAdded.add([&](const std::string& line) {
        EXPECT_EQ(logs.userLines().back(), line);
        heard.push_back("user: " + line);
    });
    const Subscription diagnostic = logs.diagnosticLineAdded.add([&](const std::string& line) {
        EXPECT_EQ(logs.diagnosticLines().back(), line);
        heard.push_back("diagnostic: " + line);
    });
    logs.user("a");
    logs.diagnostic("b");
    EXPECT_THAT(heard, ElementsAre("user: a", "diagnostic: 2025-03-14 09:26:53.589  USER  a",
                                   "diagnostic: 2025-03-14 09:26:53.589  b"));
}

}  // namespace
}  // namespace quillbay
