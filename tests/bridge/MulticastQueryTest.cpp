#include "bridge/MulticastQuery.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(MulticastQuery, is_one_question_for_everything_about_the_name) {
    EXPECT_EQ(makeMulticastQuery("Phone.local", 0x1234),
              (Bytes{0x12, 0x34, 0,   0, 0,   1,   0,   0,   0,   0, 0,    0,    5,    'p', 'h',
                     'o',  'n',  'e', 5, 'l', 'o', 'c', 'a', 'l', 0, 0x00, 0xFF, 0x80, 0x01}));
}

TEST(MulticastQuery, a_trailing_dot_and_letter_case_make_no_difference) {
    EXPECT_EQ(makeMulticastQuery("iPhone.Local.", 7), makeMulticastQuery("iphone.local", 7));
    EXPECT_EQ(makeMulticastQuery("\xC3\x9C.local", 7), makeMulticastQuery("\xC3\xBC.LOCAL.", 7));
    EXPECT_NE(makeMulticastQuery("iphone.local", 7), makeMulticastQuery("iphone.local", 8));
}

TEST(MulticastQuery, a_label_of_64_bytes_or_an_empty_host_gives_none) {
    EXPECT_TRUE(makeMulticastQuery(std::string(63, 'a') + ".local", 1));
    EXPECT_FALSE(makeMulticastQuery(std::string(64, 'a') + ".local", 1));
    EXPECT_FALSE(makeMulticastQuery("a." + std::string(64, 'b'), 1));
    EXPECT_FALSE(makeMulticastQuery("", 1));
    EXPECT_FALSE(makeMulticastQuery(".", 1));
}

TEST(MulticastQuery, counts_a_label_in_bytes) {
    std::string umlauts;
    for (int i = 0; i < 32; ++i)
        umlauts += "\xC3\xBC";
    EXPECT_FALSE(makeMulticastQuery(umlauts, 1));
    EXPECT_TRUE(makeMulticastQuery(umlauts.substr(2), 1));
}

TEST(MulticastQuery, leaves_empty_labels_out) {
    EXPECT_EQ(makeMulticastQuery("..phone...local..", 7), makeMulticastQuery("phone.local", 7));
}

TEST(MulticastAnswer, has_the_transaction_id_the_response_bit_and_an_answer) {
    EXPECT_TRUE(isMulticastAnswer(Bytes{0x12, 0x34, 0x84, 0, 0, 0, 0, 1, 0, 0, 0, 0}, 0x1234));
    EXPECT_TRUE(isMulticastAnswer(Bytes{0x12, 0x34, 0x80, 0, 0, 0, 1, 0, 0, 0, 0, 0, 9, 9}, 0x1234));
}

TEST(MulticastAnswer, without_answer_records_does_not_count) {
    EXPECT_FALSE(isMulticastAnswer(Bytes{0x12, 0x34, 0x84, 0, 0, 1, 0, 0, 0, 1, 0, 1}, 0x1234));
}

TEST(MulticastAnswer, with_the_response_bit_clear_does_not_count) {
    EXPECT_FALSE(isMulticastAnswer(Bytes{0x12, 0x34, 0x7F, 0xFF, 0, 0, 0, 1, 0, 0, 0, 0}, 0x1234));
}

TEST(MulticastAnswer, with_another_id_or_too_short_does_not_count) {
    EXPECT_FALSE(isMulticastAnswer(Bytes{0x34, 0x12, 0x84, 0, 0, 0, 0, 1, 0, 0, 0, 0}, 0x1234));
    EXPECT_FALSE(isMulticastAnswer(Bytes{0x12, 0x34, 0x84, 0, 0, 0, 0, 1, 0, 0, 0}, 0x1234));
    EXPECT_FALSE(isMulticastAnswer(Bytes{}, 0x1234));
}

TEST(MulticastQueryAsGiven, keeps_every_letter_of_an_instance_name) {
    EXPECT_EQ(makeMulticastQueryAsGiven("\xC3\x9C._T.local", 0x1234),
              (Bytes{0x12, 0x34, 0,   0, 0,   1,   0,   0,   0,   0, 0,    0,    2,    0xC3, 0x9C,
                     2,    '_',  'T', 5, 'l', 'o', 'c', 'a', 'l', 0, 0x00, 0xFF, 0x80, 0x01}));
    EXPECT_EQ(makeMulticastQueryAsGiven("Phone.local.", 7), makeMulticastQueryAsGiven("Phone.local", 7));
    EXPECT_NE(makeMulticastQueryAsGiven("Phone.local", 7), makeMulticastQuery("Phone.local", 7));
}

TEST(MulticastQueryAsGiven, gives_none_for_what_cannot_be_asked_for) {
    EXPECT_TRUE(makeMulticastQueryAsGiven(std::string(63, 'A') + ".local", 1));
    EXPECT_FALSE(makeMulticastQueryAsGiven(std::string(64, 'A') + ".local", 1));
    EXPECT_FALSE(makeMulticastQueryAsGiven("", 1));
    EXPECT_FALSE(makeMulticastQueryAsGiven(".", 1));
}

}  // namespace
}  // namespace quillbay
