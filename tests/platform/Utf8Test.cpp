#include "platform/Utf8.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

TEST(Utf8, accepts_characters_of_every_length) {
    EXPECT_TRUE(isValidUtf8(""));
    EXPECT_TRUE(isValidUtf8("plain"));
    EXPECT_TRUE(isValidUtf8(std::string_view("\0", 1)));
    EXPECT_TRUE(isValidUtf8("\xC3\xA9 \xE2\x80\x94 \xF0\x9F\x93\xB1"));
    EXPECT_TRUE(isValidUtf8("\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"));
}

TEST(Utf8, refuses_what_is_not_well_formed) {
    EXPECT_FALSE(isValidUtf8("\x80"));                  // no beginning
    EXPECT_FALSE(isValidUtf8("\xC3"));                  // no end
    EXPECT_FALSE(isValidUtf8("\xE2\x80"));              // no end
    EXPECT_FALSE(isValidUtf8("\xC3z"));                 // broken off
    EXPECT_FALSE(isValidUtf8("\xC0\xAF"));              // overlong "/"
    EXPECT_FALSE(isValidUtf8("\xE0\x9F\xBF"));          // overlong
    EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));          // a surrogate
    EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80"));      // beyond U+10FFFF
    EXPECT_FALSE(isValidUtf8("\xF8\x88\x80\x80\x80"));  // five bytes
    EXPECT_FALSE(isValidUtf8("\xFF"));
}

TEST(Utf8ChunkDecoder, passes_whole_text_through) {
    Utf8ChunkDecoder decoder;
    EXPECT_EQ(decoder.decode("one"), "one");
    EXPECT_EQ(decoder.decode(""), "");
    EXPECT_EQ(decoder.decode("\xC3\xA9"), "\xC3\xA9");
}

TEST(Utf8ChunkDecoder, joins_a_character_at_every_point_of_a_cut) {
    const std::string text =
        "a\xC3\xA9"
        "b\xE2\x80\x94"
        "c\xF0\x9F\x93\xB1"
        "d";
    for (std::size_t first = 0; first <= text.size(); ++first) {
        for (std::size_t second = first; second <= text.size(); ++second) {
            Utf8ChunkDecoder decoder;
            std::string joined;
            for (const std::string& chunk :
                 {text.substr(0, first), text.substr(first, second - first), text.substr(second)}) {
                const std::optional<std::string> decoded = decoder.decode(chunk);
                ASSERT_TRUE(decoded.has_value()) << first << ", " << second;
                EXPECT_TRUE(isValidUtf8(*decoded));
                joined += *decoded;
            }
            EXPECT_EQ(joined, text) << first << ", " << second;
        }
    }
}

TEST(Utf8ChunkDecoder, drops_a_chunk_that_is_not_valid_and_goes_on) {
    Utf8ChunkDecoder decoder;
    EXPECT_EQ(decoder.decode("good\n"), "good\n");
    EXPECT_EQ(decoder.decode("bad \xFF bad\n"), std::nullopt);
    EXPECT_EQ(decoder.decode("\xED\xA0\x80"), std::nullopt);
    EXPECT_EQ(decoder.decode("good again\n"), "good again\n");
}

TEST(Utf8ChunkDecoder, a_character_that_never_ends_costs_no_later_chunk) {
    Utf8ChunkDecoder decoder;
    EXPECT_EQ(decoder.decode("broken off \xE2\x80"), "broken off ");
    EXPECT_EQ(decoder.decode("whole \xC3"), "whole ");
    EXPECT_EQ(decoder.decode("\xA9 joined"), "\xC3\xA9 joined");
}

TEST(Utf8ChunkDecoder, keeps_the_beginning_of_a_character_at_the_end_of_a_dropped_chunk) {
    Utf8ChunkDecoder decoder;
    EXPECT_EQ(decoder.decode("\xFF\xC3"), std::nullopt);
    EXPECT_EQ(decoder.decode("\xA9 line"), "\xC3\xA9 line");
}

TEST(Utf8ChunkDecoder, never_keeps_more_than_three_bytes) {
    Utf8ChunkDecoder decoder;
    EXPECT_EQ(decoder.decode("\xF0\x9F\x93"), "");
    EXPECT_EQ(decoder.decode("\xF0\x9F\x93"), "");
    EXPECT_EQ(decoder.decode("\xB1"), "\xF0\x9F\x93\xB1");
    EXPECT_EQ(decoder.decode(std::string(100, '\x93')), std::nullopt);
    EXPECT_EQ(decoder.decode("next"), "next");
}

}  // namespace
}  // namespace quillbay
