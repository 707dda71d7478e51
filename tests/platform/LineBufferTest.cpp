#include "platform/LineBuffer.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Lines {
    explicit Lines(std::size_t limit) : buffer(limit) {}
    void append(std::string_view text) {
        buffer.append(text, [this](std::string_view line) { lines.emplace_back(line); });
    }
    LineBuffer buffer;
    std::vector<std::string> lines;
};

TEST(LineBuffer, hands_on_a_line_once_its_line_feed_has_come) {
    Lines all(100);
    all.append("fir");
    all.append("st");
    EXPECT_THAT(all.lines, IsEmpty());
    EXPECT_EQ(all.buffer.unfinished(), "first");
    all.append("\nsecond\n\nthi");
    EXPECT_THAT(all.lines, ElementsAre("first", "second", ""));
    EXPECT_EQ(all.buffer.unfinished(), "thi");
    all.append("");
    all.append("\n");
    EXPECT_THAT(all.lines, ElementsAre("first", "second", "", "thi"));
    EXPECT_EQ(all.buffer.unfinished(), "");
}

TEST(LineBuffer, keeps_carriage_returns_and_zero_bytes) {
    Lines all(100);
    all.append(std::string_view("a\r\nb\0c\n", 7));
    EXPECT_THAT(all.lines, ElementsAre("a\r", std::string("b\0c", 3)));
}

TEST(LineBuffer, keeps_a_line_of_exactly_the_limit) {
    Lines all(5);
    all.append("12345\n");
    all.append("123");
    all.append("45");
    all.append("\n");
    EXPECT_THAT(all.lines, ElementsAre("12345", "12345"));
}

TEST(LineBuffer, drops_a_line_over_the_limit_however_it_arrives) {
    Lines whole(5);
    whole.append("123456\nok\n");
    EXPECT_THAT(whole.lines, ElementsAre("ok"));

    Lines pieces(5);
    for (const std::string_view piece : {"123", "45", "6", "7", "\nok", "\n"})
        pieces.append(piece);
    EXPECT_THAT(pieces.lines, ElementsAre("ok"));
}

TEST(LineBuffer, never_holds_more_than_the_limit) {
    Lines all(1000);
    const std::string piece(300, 'x');
    for (int i = 0; i < 10'000; ++i) {
        all.append(piece);
        ASSERT_LE(all.buffer.unfinished().size(), 1000U);
    }
    all.append("\nafter\n");
    EXPECT_THAT(all.lines, ElementsAre("after"));
}

TEST(LineBuffer, forgets_the_unfinished_line_and_that_it_was_too_long) {
    Lines all(5);
    all.append("abc");
    all.buffer.clear();
    all.append("def\n");
    all.append("1234567");
    all.buffer.clear();
    all.append("ghi\n");
    EXPECT_THAT(all.lines, ElementsAre("def", "ghi"));
}

TEST(LineBuffer, may_be_cleared_by_the_handler_of_a_line) {
    LineBuffer buffer(100);
    std::vector<std::string> lines;
    buffer.append("on", [](std::string_view) {});
    buffer.append("e\ntwo\nthree", [&](std::string_view line) {
        buffer.clear();
        lines.emplace_back(line);
    });
    EXPECT_THAT(lines, ElementsAre("one", "two"));
    EXPECT_EQ(buffer.unfinished(), "three");
}

}  // namespace
}  // namespace quillbay
