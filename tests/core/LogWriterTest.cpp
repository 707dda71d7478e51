#include "core/LogWriter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <iterator>
#include <vector>

#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

using std::chrono::seconds;

constexpr std::string_view stamp = "2026-11-20 10:00:00.000";

/// A writer whose disk hangs until the test lets it go.
class LogWriterTest : public testing::Test {
 protected:
    ~LogWriterTest() override { letDiskGo(); }

    void hangDisk() {
        queue_.post([released = released_.get_future().share()] { released.wait(); });
    }
    void letDiskGo() {
        if (!isReleased_) released_.set_value();
        isReleased_ = true;
    }
    void submit(const std::string& text) { writer_.submit(std::string(stamp) + "  " + text, stamp.size()); }

    [[nodiscard]] std::vector<std::string> lines() const {
        std::ifstream file(path());
        std::vector<std::string> result;
        for (std::string line; std::getline(file, line);)
            result.push_back(line.substr(stamp.size() + 2));
        return result;
    }
    [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "diagnostics.log"; }

    fakes::TemporaryFolder folder_;
    std::promise<void> released_;
    bool isReleased_ = false;
    SerialQueue queue_ = SerialQueue::withOwnThread("test-log");
    LogWriter writer_{queue_, LogFile(path(), std::int64_t{1} << 40)};
};

TEST_F(LogWriterTest, writes_lines_in_their_order) {
    std::vector<std::string> expected;
    for (int i = 0; i < 500; ++i) {
        expected.push_back("line " + std::to_string(i));
        submit(expected.back());
    }
    EXPECT_TRUE(writer_.flush(seconds(60)));
    EXPECT_EQ(lines(), expected);
}

TEST_F(LogWriterTest, does_not_make_the_caller_wait_for_a_hanging_disk) {
    hangDisk();
    for (int i = 0; i < 1000; ++i)
        submit("line");
    EXPECT_FALSE(writer_.flush(std::chrono::milliseconds(1)));
    letDiskGo();
    EXPECT_TRUE(writer_.flush(seconds(60)));
    EXPECT_EQ(lines().size(), 1000U);
}

TEST_F(LogWriterTest, drops_lines_beyond_the_bound_and_says_how_many) {
    hangDisk();
    for (std::size_t i = 0; i < LogWriter::maxWaitingLines + 3; ++i)
        submit("line");
    letDiskGo();
    EXPECT_TRUE(writer_.flush(seconds(100)));
    submit("after");
    EXPECT_TRUE(writer_.flush(seconds(60)));
    const std::vector<std::string> written = lines();
    ASSERT_EQ(written.size(), 100'002U);
    EXPECT_EQ(written.at(99'999), "line");
    EXPECT_EQ(written.at(100'000), "3 log line(s) dropped here: the disk did not keep up");
    EXPECT_EQ(written.at(100'001), "after");
}

TEST_F(LogWriterTest, bounds_the_bytes_that_wait_too) {
    hangDisk();
    const std::string megabyte(1024 * 1024, 'x');
    for (int i = 0; i < 70; ++i)
        submit(megabyte);
    letDiskGo();
    EXPECT_TRUE(writer_.flush(seconds(100)));
    const std::vector<std::string> written = lines();
    ASSERT_EQ(written.size(), 64U);
    EXPECT_EQ(written.back(), "7 log line(s) dropped here: the disk did not keep up");
}

TEST_F(LogWriterTest, writes_a_single_line_that_is_larger_than_the_bound) {
    submit(std::string(LogWriter::maxWaitingBytes + 1, 'x'));
    EXPECT_TRUE(writer_.flush(seconds(60)));
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines().front().size(), LogWriter::maxWaitingBytes + 1);
}

}  // namespace
}  // namespace quillbay
