#include "core/LogFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

constexpr std::int64_t maxBytes = 2'097'152;
constexpr std::size_t keptCharacters = 1'048'576;

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

class LogFileTest : public testing::Test {
 protected:
    [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "diagnostics.log"; }
    [[nodiscard]] std::string content() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void setContent(const std::string& text) const {
        std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;
    }

    fakes::TemporaryFolder folder_;
    LogFile file_{path(), maxBytes};
};

TEST_F(LogFileTest, creates_a_file_for_the_user_alone) {
    file_.append("first");
    EXPECT_EQ(content(), "first\n");
    struct stat status{};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(LogFileTest, appends_each_line_with_a_line_feed) {
    setContent("old without an end");
    file_.append("a");
    file_.append("");
    file_.append("two\nlines");
    EXPECT_EQ(content(), "old without an enda\n\ntwo\nlines\n");
}

TEST_F(LogFileTest, keeps_no_handle_between_lines) {
    file_.append("a");
    std::filesystem::rename(path(), folder_.path() / "moved");
    file_.append("b");
    EXPECT_EQ(content(), "b\n");
}

TEST_F(LogFileTest, leaves_a_file_of_exactly_the_limit_alone) {
    setContent(std::string(maxBytes - 6, 'x'));
    file_.append("12345");
    EXPECT_EQ(content(), std::string(maxBytes - 6, 'x') + "12345\n");
}

TEST_F(LogFileTest, cuts_a_file_of_one_byte_more_to_its_last_characters) {
    std::string text = repeated("0123456789abcde\n", maxBytes / 16);
    setContent(text.substr(0, text.size() - 5));
    file_.append("12345");
    const std::string all = text.substr(0, text.size() - 5) + "12345\n";
    ASSERT_EQ(all.size(), static_cast<std::size_t>(maxBytes) + 1);
    EXPECT_EQ(content(), all.substr(all.size() - keptCharacters));
    struct stat status{};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(LogFileTest, counts_characters_and_not_bytes) {
    // 1,100,000 characters of three bytes each: more than half of the limit is kept, in characters and bytes.
    setContent(repeated("\u20AC", 1'100'000));
    file_.append("end");
    EXPECT_EQ(content(), repeated("\u20AC", keptCharacters - 4) + "end\n");
}

TEST_F(LogFileTest, leaves_a_file_of_few_large_characters_alone) {
    const std::string text = repeated("\u20AC", 800'000);
    setContent(text);
    file_.append("end");
    EXPECT_EQ(content(), text + "end\n");
}

TEST_F(LogFileTest, lets_a_file_that_is_not_utf8_grow) {
    const std::string text = "\xFF" + std::string(maxBytes, 'x');
    setContent(text);
    file_.append("a");
    file_.append("b");
    EXPECT_EQ(content(), text + "a\nb\n");
    EXPECT_EQ(file_.read(), std::nullopt);
}

TEST_F(LogFileTest, reads_the_whole_text) {
    EXPECT_EQ(file_.read(), std::nullopt);
    file_.append("a");
    EXPECT_EQ(file_.read(), "a\n");
}

TEST_F(LogFileTest, gives_up_silently_where_it_cannot_write) {
    std::filesystem::create_directory(path());
    file_.append("a");
    std::filesystem::remove(path());
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    file_.append("a pipe that nobody reads must not hold the queue");
    std::filesystem::remove(path());
    const LogFile elsewhere(folder_.path() / "missing" / "diagnostics.log", maxBytes);
    elsewhere.append("a");
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "missing"));
}

TEST(TrimmedLog, keeps_the_last_characters) {
    EXPECT_EQ(trimmedLog("abcdef", 3), "def");
    EXPECT_EQ(trimmedLog("abc", 3), "abc");
    EXPECT_EQ(trimmedLog("", 3), "");
    EXPECT_EQ(trimmedLog("abc", 0), "");
}

TEST(TrimmedLog, never_cuts_within_a_character) {
    EXPECT_EQ(trimmedLog("ae\u0301\u0302", 1), "e\u0301\u0302");
    EXPECT_EQ(trimmedLog("x\U0001F468\u200D\U0001F469", 1), "\U0001F468\u200D\U0001F469");
    EXPECT_EQ(trimmedLog("ab\r\n", 2), "b\r\n");
}

TEST(TrimmedLog, refuses_text_that_is_not_utf8) {
    EXPECT_EQ(trimmedLog("abc\xC3", 2), std::nullopt);
    EXPECT_EQ(trimmedLog("\xFF"
                         "abc",
                         2),
              std::nullopt);
}

}  // namespace
}  // namespace quillbay
