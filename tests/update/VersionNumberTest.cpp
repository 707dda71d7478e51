#include "update/VersionNumber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillbay {
namespace {

using ::testing::ElementsAre;

TEST(VersionNumber, three_numbers_are_read_as_they_are) {
    EXPECT_THAT(components("1.10.203"), ElementsAre(1, 10, 203));
}

TEST(VersionNumber, missing_numbers_are_zero) {
    EXPECT_THAT(components("1.2"), ElementsAre(1, 2, 0));
    EXPECT_THAT(components("7"), ElementsAre(7, 0, 0));
    EXPECT_THAT(components(""), ElementsAre(0, 0, 0));
}

TEST(VersionNumber, a_fourth_number_does_not_count) {
    EXPECT_THAT(components("1.2.3.9"), ElementsAre(1, 2, 3));
    EXPECT_FALSE(isNewer("1.2.3.9", "1.2.3"));
    EXPECT_FALSE(isNewer("1.2.3", "1.2.3.9"));
}

TEST(VersionNumber, empty_pieces_are_dropped) {
    EXPECT_THAT(components("1..2"), ElementsAre(1, 2, 0));
    EXPECT_THAT(components(".1.2.3."), ElementsAre(1, 2, 3));
    EXPECT_THAT(components("..."), ElementsAre(0, 0, 0));
}

TEST(VersionNumber, a_piece_that_is_no_number_counts_as_zero) {
    EXPECT_THAT(components("1.3-beta.4"), ElementsAre(1, 0, 4));
    EXPECT_THAT(components("v1.2.3"), ElementsAre(0, 2, 3));
    EXPECT_THAT(components("1. 2.0x3"), ElementsAre(1, 0, 0));
    EXPECT_THAT(components("1.٢.3"), ElementsAre(1, 0, 3));
}

TEST(VersionNumber, a_sign_belongs_to_a_number) {
    EXPECT_THAT(components("+1.-2.+-3"), ElementsAre(1, -2, 0));
    EXPECT_THAT(components("+.-.1"), ElementsAre(0, 0, 1));
}

TEST(VersionNumber, a_number_beyond_64_bits_counts_as_zero) {
    EXPECT_THAT(components("9223372036854775807.9223372036854775808.1"),
                ElementsAre(9223372036854775807, 0, 1));
}

TEST(VersionNumber, numbers_are_compared_as_numbers_from_the_first_on) {
    EXPECT_TRUE(isNewer("1.10.0", "1.9.9"));
    EXPECT_FALSE(isNewer("1.9.9", "1.10.0"));
    EXPECT_TRUE(isNewer("1.9.10", "1.9.9"));
    EXPECT_TRUE(isNewer("2.0.0", "1.99.99"));
}

TEST(VersionNumber, version_2_is_newer_than_1_9_9) {
    EXPECT_TRUE(isNewer("2", "1.9.9"));
    EXPECT_FALSE(isNewer("1.9.9", "2"));
}

TEST(VersionNumber, a_version_is_not_newer_than_itself_in_other_words) {
    EXPECT_FALSE(isNewer("1.2", "1.2.0"));
    EXPECT_FALSE(isNewer("1.2.0", "1.2"));
    EXPECT_FALSE(isNewer("1.02", "1.2"));
}

TEST(VersionNumber, a_version_before_the_release_is_older_than_its_number) {
    EXPECT_FALSE(isNewer("1.2.3-beta", "1.2.3"));
    EXPECT_TRUE(isNewer("1.2.3", "1.2.3-beta"));
}

}  // namespace
}  // namespace quillbay
