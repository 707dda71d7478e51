#include "profile/ByteText.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/Utf8.h"

namespace quillbay {
namespace {

TEST(ByteText, leaves_valid_utf8_as_it_is) {
    const std::string text("Mirel\xE2\x80\x99s \xF0\x9F\x93\xB1 \0 \x7F", 17);
    EXPECT_EQ(textFromBytes(text), text);
    EXPECT_EQ(bytesFromText(text), text);
}

TEST(ByteText, writes_a_foreign_byte_as_a_private_character) {
    EXPECT_EQ(textFromBytes("a\x80z"), "a\U0010EE80z");
    EXPECT_EQ(textFromBytes("\xFF"), "\U0010EEFF");
    EXPECT_EQ(textFromBytes("\xC3"), "\U0010EEC3");
    EXPECT_EQ(bytesFromText("a\U0010EE80z"), "a\x80z");
    EXPECT_EQ(bytesFromText("\U0010EEBF\U0010EEC0"), "\xBF\xC0");
}

TEST(ByteText, does_not_mistake_a_real_private_character_for_a_byte) {
    const std::string real = "\U0010EE80";
    EXPECT_EQ(textFromBytes(real), "\U0010EEF4\U0010EE8E\U0010EEBA\U0010EE80");
    EXPECT_EQ(bytesFromText(textFromBytes(real)), real);
    EXPECT_EQ(textFromBytes("\U0010EE7F\U0010EF00"), "\U0010EE7F\U0010EF00");
}

TEST(ByteText, reads_text_that_ends_within_a_character) {
    EXPECT_EQ(bytesFromText("a\xF4\x8E"), "a\xF4\x8E");
    EXPECT_EQ(bytesFromText("\xF4\x8E\xBA"), "\xF4\x8E\xBA");
}

TEST(ByteText, gives_every_single_byte_and_pair_back) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            const std::string text = textFromBytes(bytes);
            ASSERT_TRUE(isValidUtf8(text)) << first << " " << second;
            ASSERT_EQ(bytesFromText(text), bytes) << first << " " << second;
        }
    }
}

TEST(ByteText, gives_random_bytes_back) {
    std::mt19937 random(20261120);
    // Pieces that are near the borders of the encoding come up more often than they would by themselves.
    const std::string pieces[] = {"\xF4",       "\x8E",       "\xBA", "\xBB",        "\x80",
                                  "\U0010EE80", "\U0010EEFF", "a",    "\xED\xA0\x80"};
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes;
        const std::size_t length = random() % 12;
        for (std::size_t i = 0; i < length; ++i) {
            bytes += random() % 4 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % 9];
        }
        const std::string text = textFromBytes(bytes);
        ASSERT_TRUE(isValidUtf8(text));
        ASSERT_EQ(bytesFromText(text), bytes);
    }
}

}  // namespace
}  // namespace quillbay
