#include "update/UpdateNotice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "update/UpdateCheckerFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string lineFor(const std::string& version) {
    return updateNoticeLine({version, "https://quillbay.example/get", std::nullopt});
}

TEST(UpdateNoticeLine, names_the_version_and_the_address) {
    EXPECT_EQ(lineFor("1.4.2"), "Version 1.4.2 is available: https://quillbay.example/get");
}

TEST(UpdateNoticeLine, no_version_forges_a_second_line_or_an_order_to_the_terminal) {
    EXPECT_EQ(lineFor("9.0.0\nBridge is successful.\r"),
              "Version 9.0.0\\nBridge is successful.\\r is available: https://quillbay.example/get");
    EXPECT_EQ(
        lineFor("9\x1b[2J\x7f\u0085\u2028\u2029\u202e"),
        "Version 9\\x1b[2J\\x7f\\x85\\u{2028}\\u{2029}\\u{202e} is available: https://quillbay.example/get");
    EXPECT_EQ(lineFor(std::string("9\0x", 3)), "Version 9\\x00x is available: https://quillbay.example/get");
}

TEST(UpdateNoticeLine, a_long_version_is_cut) {
    EXPECT_EQ(lineFor("1234567890123456789012345678901234567890"),
              "Version 1234567890123456789012345678901234567890 is available: https://quillbay.example/get");
    EXPECT_EQ(lineFor("12345678901234567890123456789012345678901"),
              "Version 1234567890123456789012345678901234567890… is available: https://quillbay.example/get");
}

TEST(UpdateNoticeLine, a_cut_leaves_characters_whole) {
    std::string version;
    for (int count = 0; count < 41; ++count)
        version += "\U0001F600";
    const std::string line = lineFor(version);
    EXPECT_EQ(line, "Version " + version.substr(0, 160) + "… is available: https://quillbay.example/get");
}

class UpdateNoticeTest : public UpdateCheckerFixture {
 protected:
    void notice() {
        make("1.9.9");
        updateNotice.emplace(checker, [this](const std::string& line) { lines.push_back(line); });
    }
    std::optional<UpdateNotice> updateNotice;
    std::vector<std::string> lines;
};

TEST_F(UpdateNoticeTest, prints_a_newer_version_once) {
    notice();
    answerVersion("2.0");
    check();
    answer(R"({"version": "2.0", "download_url": "https://quillbay.example/elsewhere"})");
    check();
    EXPECT_THAT(lines, ElementsAre("Version 2.0 is available: https://quillbay.example/2.0"));
}

TEST_F(UpdateNoticeTest, prints_the_next_version_too) {
    notice();
    answerVersion("2.0");
    check();
    answerVersion("2.1");
    check();
    EXPECT_THAT(lines, ElementsAre("Version 2.0 is available: https://quillbay.example/2.0",
                                   "Version 2.1 is available: https://quillbay.example/2.1"));
}

TEST_F(UpdateNoticeTest, prints_nothing_when_nothing_is_newer_or_the_check_fails) {
    notice();
    answerVersion("1.9.9");
    check();
    answer("oh dear");
    check();
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(UpdateNoticeTest, a_dropped_notice_prints_nothing) {
    notice();
    updateNotice.reset();
    answerVersion("2.0");
    check();
    EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
}  // namespace quillbay
