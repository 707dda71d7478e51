#include "bridge/HandshakeFrame.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

namespace quillbay {
namespace {

TEST(HandshakeFrame, carries_the_magic_the_length_and_the_request) {
    const auto frame = handshakeFrame(19, "aZ09bY");
    const std::string text(frame.begin(), frame.end());
    ASSERT_GT(text.size(), 11U);
    EXPECT_EQ(text.substr(0, 9), "RPPairing");
    EXPECT_EQ(frame[9] * 256U + frame[10], text.size() - 11);
    EXPECT_EQ(nlohmann::json::parse(text.substr(11)), nlohmann::json::parse(R"({
        "originatedBy": "host",
        "sequenceNumber": 0,
        "message": {"plain": {"_0": {"request": {"_0": {"handshake": {"_0": {
            "hostOptions": {"attemptPairVerify": true},
            "wireProtocolVersion": 19,
            "correlationIdentifier": {"value": "aZ09bY"}}}}}}}}
    })"));
}

TEST(HandshakeFrame, writes_whatever_version_the_caller_gives) {
    for (const std::int64_t version : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{99999999999}}) {
        const auto frame = handshakeFrame(version, "abcdef");
        const auto body = nlohmann::json::parse(frame.begin() + 11, frame.end());
        EXPECT_EQ(body["message"]["plain"]["_0"]["request"]["_0"]["handshake"]["_0"]["wireProtocolVersion"],
                  version);
    }
}

TEST(HandshakeFrame, is_empty_when_the_body_does_not_fit_its_length_field) {
    const std::size_t around = handshakeFrame(19, "").size() - 11;
    const auto longest = handshakeFrame(19, std::string(65535 - around, 'x'));
    ASSERT_EQ(longest.size(), 65546U);
    EXPECT_EQ(longest[9], 0xFF);
    EXPECT_EQ(longest[10], 0xFF);
    EXPECT_TRUE(handshakeFrame(19, std::string(65536 - around, 'x')).empty());
}

TEST(HandshakeFrame, is_empty_when_the_body_cannot_be_written_as_json) {
    EXPECT_TRUE(handshakeFrame(19, "\xff").empty());
}

TEST(HandshakeFrame, correlation_values_are_six_letters_and_digits_from_the_whole_alphabet) {
    SystemRandomSource random;
    std::set<std::string> values;
    std::set<char> characters;
    for (int i = 0; i < 1000; ++i) {
        const std::string value = correlationValue(random);
        ASSERT_EQ(value.size(), 6U);
        values.insert(value);
        characters.insert(value.begin(), value.end());
    }
    EXPECT_GT(values.size(), 990U);
    EXPECT_EQ(std::string(characters.begin(), characters.end()),
              "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

}  // namespace
}  // namespace quillbay
