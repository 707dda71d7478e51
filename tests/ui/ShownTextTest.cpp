#include "ui/models/ShownText.h"

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

TEST(ShownText, leaves_ordinary_text_alone) {
    EXPECT_EQ(shownLine("Lena's iPhone 16 Pro"), "Lena's iPhone 16 Pro");
    EXPECT_EQ(shownLine("Łucjas Gerät 📱 – büro"), "Łucjas Gerät 📱 – büro");
    EXPECT_EQ(shownLine(""), "");
}

TEST(ShownText, a_line_has_no_line_breaks_and_no_tabs) {
    EXPECT_EQ(shownLine("one\ntwo\r\nthree\tfour"), "one two  three four");
    EXPECT_EQ(shownLine("one\u2028two"), "one\\u{2028}two");
}

TEST(ShownText, lines_keep_their_line_breaks) {
    EXPECT_EQ(shownLines("one\n\ntwo\tthree\n"), "one\n\ntwo three\n");
    EXPECT_EQ(shownLines(""), "");
}

TEST(ShownText, nothing_turns_the_direction_of_writing_or_hides) {
    EXPECT_EQ(shownLine("abc\u202efdp.exe"), "abc\\u{202e}fdp.exe");
    EXPECT_EQ(shownLine("a\x1b[31mb"), "a\\x1b[31mb");
    EXPECT_EQ(shownLines("a\nb\u2066c"), "a\nb\\u{2066}c");
    EXPECT_EQ(shownLine(std::string_view("a\0b", 3)), "a\\x00b");
}

TEST(ShownText, what_is_not_utf8_is_replaced) {
    EXPECT_EQ(shownLine("a\xff"
                        "b"),
              "a\ufffdb");
}

}  // namespace
}  // namespace quillbay
