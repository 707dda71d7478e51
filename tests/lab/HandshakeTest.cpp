#include "phone/Handshake.h"

#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

using namespace std::string_literals;

constexpr std::string_view goodBody =
    R"({"message":{"plain":{"_0":{"request":{"_0":{"handshake":{"_0":{"hostOptions":{"attemptPairVerify":true},)"
    R"("wireProtocolVersion":24,"correlationIdentifier":{"value":"aZ09bY"}}}}}}}},)"
    R"("originatedBy":"host","sequenceNumber":0})";

std::string replaced(std::string_view from, std::string_view to) {
    std::string body(goodBody);
    body.replace(body.find(from), from.size(), to);
    return body;
}

std::string problemOf(const std::string& body) {
    std::string problem;
    return parseHandshakeRequest(body, problem) ? "none" : problem;
}

TEST(FrameReader, cuts_a_frame_that_arrives_byte_by_byte) {
    FrameReader reader;
    for (const char byte : "RPPairing\0\2{"s) {
        reader.append(std::string_view(&byte, 1));
        EXPECT_EQ(reader.next(), std::nullopt);
    }
    reader.append("}");
    EXPECT_EQ(reader.next(), "{}");
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_FALSE(reader.broken());
}

TEST(FrameReader, cuts_two_frames_that_arrive_together) {
    FrameReader reader;
    reader.append("RPPairing\0\1aRPPairing\0\2bc"s);
    EXPECT_EQ(reader.next(), "a");
    EXPECT_EQ(reader.next(), "bc");
}

TEST(FrameReader, reads_the_length_with_the_high_byte_first) {
    FrameReader reader;
    reader.append("RPPairing\1\2"s + std::string(258, 'x'));
    EXPECT_EQ(reader.next(), std::string(258, 'x'));
}

TEST(FrameReader, is_broken_by_the_first_wrong_byte_and_stays_so) {
    FrameReader reader;
    reader.append("RPQ");
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_TRUE(reader.broken());
    reader.append("RPPairing\0\1a"s);
    EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(HandshakeRequest, is_read_whatever_the_order_of_its_keys) {
    std::string problem;
    const auto request = parseHandshakeRequest(goodBody, problem);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->wireProtocolVersion, 24);
    EXPECT_EQ(request->correlationIdentifier, "aZ09bY");
}

TEST(HandshakeRequest, names_the_part_that_is_wrong) {
    EXPECT_EQ(problemOf("not json"), "body");
    EXPECT_EQ(problemOf("[]"), "body");
    EXPECT_EQ(problemOf(replaced("\"host\"", "\"device\"")), "originatedBy");
    EXPECT_EQ(problemOf(replaced("\"sequenceNumber\":0", "\"sequenceNumber\":1")), "sequenceNumber");
    EXPECT_EQ(problemOf(replaced("\"plain\"", "\"plane\"")), "message");
    EXPECT_EQ(problemOf(replaced("true", "false")), "attemptPairVerify");
    EXPECT_EQ(problemOf(replaced("24", "\"24\"")), "wireProtocolVersion");
    EXPECT_EQ(problemOf(replaced("aZ09bY", "aZ09b")), "correlationIdentifier");
    EXPECT_EQ(problemOf(replaced("aZ09bY", "aZ09b-")), "correlationIdentifier");
}

TEST(HandshakeReply, is_a_frame_that_carries_the_identifier_of_the_request) {
    FrameReader reader;
    reader.append(handshakeReply({24, "aZ09bY"}));
    EXPECT_EQ(
        reader.next(),
        R"({"message":{"plain":{"_0":{"response":{"_1":{"handshake":{"_0":{"correlationIdentifier":)"
        R"({"value":"aZ09bY"},"deviceOptions":{"allowsPairVerify":true},"wireProtocolVersion":24}}}}}}},)"
        R"("originatedBy":"device","sequenceNumber":0})");
}

}  // namespace

}  // namespace quillbay::lab
