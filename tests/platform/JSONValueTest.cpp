#include "platform/JSONValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quillbay {
namespace {

using namespace std::string_view_literals;

/// What reading `text` fails with; empty when it does not fail.
std::string failureOf(std::string_view text) {
    try {
        (void)JSONValue::parse(text);
        return "";
    } catch (const JSONError& error) {
        return error.what();
    }
}

TEST(JSONValue, refuses_what_follows_a_zero_byte) {
    EXPECT_EQ(failureOf("{\"a\": 1}"sv), "");
    EXPECT_EQ(failureOf("{\"a\": 1}\0"sv), "the text is not valid JSON (at byte 9)");
    EXPECT_EQ(failureOf("{\"a\": 1}\0garbage"sv), "the text is not valid JSON (at byte 9)");
    EXPECT_EQ(failureOf("\0"sv), "the text is not valid JSON (at byte 1)");
}

TEST(JSONValue, reads_an_escaped_zero_byte_in_a_string) {
    EXPECT_EQ(JSONValue::parse(R"({"a": "x\u0000y"})").requiredMember("a").string("a"), "x\0y"sv);
}

TEST(JSONValue, refuses_anything_behind_the_document) {
    EXPECT_EQ(failureOf("{} {}"), "the text is not valid JSON (at byte 4)");
    EXPECT_EQ(failureOf("{} \n\t "), "");
}

}  // namespace
}  // namespace quillbay
