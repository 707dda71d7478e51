#include "platform/PrintableText.h"

#include <gtest/gtest.h>

#include <string_view>

namespace quillbay {
namespace {

TEST(PrintableText, leaves_text_alone) {
    for (const char* text : {"", "plain", "Mirel’s iPhone — 📱", "\\", "ÿ", "日本"})
        EXPECT_EQ(printable(text), text);
}

TEST(PrintableText, writes_control_characters_out) {
    EXPECT_EQ(printable(std::string_view("\0\x01\x1b\x7f", 4)), "\\x00\\x01\\x1b\\x7f");
    EXPECT_EQ(printable("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(printable("\xc2\x80\xc2\x9f\xc2\xa0"), "\\x80\\x9f\xc2\xa0");
}

TEST(PrintableText, writes_out_what_turns_the_text_around) {
    EXPECT_EQ(printable("\u202a\u202e\u2066\u2069\u2028\u200f\u061c"),
              "\\u{202a}\\u{202e}\\u{2066}\\u{2069}\\u{2028}\\u{200f}\\u{061c}");
}

TEST(PrintableText, replaces_what_is_no_text) {
    EXPECT_EQ(printable("a\xff\xc2"), "a��");
}

}  // namespace
}  // namespace quillbay
