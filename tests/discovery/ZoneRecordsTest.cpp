#include "discovery/ZoneRecords.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

using Entries = std::map<std::string, std::string>;

std::string name(std::size_t number) {
    return "i" + std::to_string(number);
}

TEST(ZoneRecords, keep_the_newest_record_of_each_kind) {
    ZoneRecords records;
    records.storeSRV("a", {"one.local", 1});
    records.storeSRV("a", {"two.local", 2});
    records.storeTXT("a", {{"k", "1"}, {"gone", ""}});
    records.storeTXT("a", {{"k", "2"}});
    ASSERT_NE(records.srv("a"), nullptr);
    EXPECT_EQ(*records.srv("a"), (ZoneDumpSRV{"two.local", 2}));
    ASSERT_NE(records.txt("a"), nullptr);
    EXPECT_EQ(*records.txt("a"), (Entries{{"k", "2"}}));
    EXPECT_EQ(records.count(), 1U);
}

TEST(ZoneRecords, have_either_kind_without_the_other) {
    ZoneRecords records;
    records.storeSRV("s", {"h", 1});
    records.storeTXT("t", {});
    EXPECT_EQ(records.txt("s"), nullptr);
    EXPECT_EQ(records.srv("t"), nullptr);
    ASSERT_NE(records.txt("t"), nullptr);
    EXPECT_EQ(*records.txt("t"), Entries{});
    EXPECT_EQ(records.srv("x"), nullptr);
    EXPECT_EQ(records.count(), 2U);
}

TEST(ZoneRecords, are_of_ten_thousand_instances_at_most_and_the_quietest_go) {
    ZoneRecords records;
    for (std::size_t i = 0; i < 10'000; ++i)
        records.storeSRV(name(i), {"h", 1});
    EXPECT_FALSE(records.overflowed());
    // A sign of the oldest one, of either kind, makes the next one the oldest.
    records.storeTXT(name(0), {});
    records.storeSRV(name(10'000), {"h", 1});
    EXPECT_TRUE(records.overflowed());
    EXPECT_EQ(records.count(), 10'000U);
    EXPECT_NE(records.srv(name(0)), nullptr);
    EXPECT_EQ(records.srv(name(1)), nullptr);
    EXPECT_NE(records.srv(name(10'000)), nullptr);
    for (std::size_t i = 0; i < 50'000; ++i)
        records.storeTXT(name(20'000 + i), {{"k", "v"}});
    EXPECT_EQ(records.count(), 10'000U);
    EXPECT_EQ(records.srv(name(0)), nullptr);
    EXPECT_EQ(records.txt(name(59'999)), nullptr);
    EXPECT_NE(records.txt(name(60'000)), nullptr);
}

TEST(ZoneRecords, make_room_when_few_of_them_are_very_large) {
    Entries large;
    for (int i = 0; i < 10'000; ++i)
        large["k" + std::to_string(i)] = "";
    ZoneRecords records;
    for (std::size_t i = 0; i < 100; ++i) {
        records.storeTXT(name(i), large);
        EXPECT_LE(records.bytes(), std::size_t{32} * 1024 * 1024);
    }
    EXPECT_TRUE(records.overflowed());
    EXPECT_GE(records.count(), 5U);
    EXPECT_LT(records.count(), 50U);
    EXPECT_EQ(records.txt(name(0)), nullptr);
    EXPECT_NE(records.txt(name(99)), nullptr);
}

TEST(ZoneRecords, count_what_they_take_exactly_once) {
    ZoneRecords records;
    records.storeSRV("a", {"h", 1});
    records.storeTXT("a", {{"k", "v"}});
    const std::size_t once = records.bytes();
    for (int i = 0; i < 1'000; ++i) {
        records.storeSRV("a", {"a much longer name", 1});
        records.storeTXT("a", {{"k", "a much longer value"}, {"and another", "one"}});
        records.storeSRV("a", {"h", 1});
        records.storeTXT("a", {{"k", "v"}});
    }
    EXPECT_EQ(records.bytes(), once);
    // Going through twice the number makes all of the first half go.
    for (std::size_t i = 0; i < 20'000; ++i)
        records.storeTXT(name(10'000 + i), {{"k", "v"}});
    const std::size_t full = records.bytes();
    for (std::size_t i = 0; i < 20'000; ++i)
        records.storeTXT(name(30'000 + i), {{"k", "v"}});
    EXPECT_EQ(records.bytes(), full);
}

TEST(ZoneRecords, are_gone_when_they_are_cleared) {
    ZoneRecords records;
    for (std::size_t i = 0; i < 10'001; ++i)
        records.storeSRV(name(i), {"h", 1});
    records.clear();
    EXPECT_EQ(records.count(), 0U);
    EXPECT_EQ(records.bytes(), 0U);
    EXPECT_FALSE(records.overflowed());
    EXPECT_EQ(records.srv(name(5'000)), nullptr);
    records.storeSRV("a", {"h", 1});
    EXPECT_NE(records.srv("a"), nullptr);
}

}  // namespace
}  // namespace quillbay
