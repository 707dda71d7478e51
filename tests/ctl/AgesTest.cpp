#include "ctl/Ages.h"

#include <gtest/gtest.h>

namespace quillbay::ctl {
namespace {

// 2026-01-31T14:05:12.9Z
constexpr std::chrono::system_clock::time_point now{std::chrono::milliseconds(1'769'868'312'900)};

TEST(CtlAges, are_rounded_down_to_the_unit_that_says_enough) {
    EXPECT_EQ(ageText("2026-01-31T14:05:12Z", now), "0 s ago");
    EXPECT_EQ(ageText("2026-01-31T14:05:09Z", now), "3 s ago");
    EXPECT_EQ(ageText("2026-01-31T14:04:13Z", now), "59 s ago");
    EXPECT_EQ(ageText("2026-01-31T14:04:12Z", now), "1 min ago");
    EXPECT_EQ(ageText("2026-01-31T13:05:13Z", now), "59 min ago");
    EXPECT_EQ(ageText("2026-01-31T13:05:12Z", now), "1 h ago");
    EXPECT_EQ(ageText("2026-01-30T14:05:13Z", now), "23 h ago");
    EXPECT_EQ(ageText("2026-01-30T14:05:12Z", now), "1 d ago");
    EXPECT_EQ(ageText("2025-01-31T14:05:12Z", now), "365 d ago");
}

TEST(CtlAges, a_time_to_come_is_now) {
    EXPECT_EQ(ageText("2026-01-31T14:05:15Z", now), "0 s ago");
    EXPECT_EQ(ageText("9999-12-31T23:59:59Z", now), "0 s ago");
}

TEST(CtlAges, what_is_no_time_stays_as_it_is) {
    for (const char* text : {"", "yesterday", "2026-01-31 14:05:09Z", "2026-01-31T14:05:09",
                             "2026-02-30T14:05:09Z", "2026-13-01T14:05:09Z", "2026-01-31T14:05:09ZZ"})
        EXPECT_EQ(ageText(text, now), text);
}

}  // namespace
}  // namespace quillbay::ctl
