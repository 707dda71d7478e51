#include "dns-sd/RecordHistory.h"

#include <gtest/gtest.h>

namespace quillbay::dnssd {
namespace {

std::string currentOf(const RecordHistory& history) {
    return history.current() != nullptr ? *history.current() : "none";
}

TEST(RecordHistory, has_nothing_at_first) {
    EXPECT_EQ(RecordHistory().current(), nullptr);
}

TEST(RecordHistory, follows_a_change_that_shows_before_the_old_record_goes) {
    RecordHistory history;
    history.add(2, 0, "old");
    history.add(2, 0, "new");
    EXPECT_EQ(currentOf(history), "new");
    history.remove(2, 0, "old");
    EXPECT_EQ(currentOf(history), "new");
    history.remove(2, 0, "new");
    EXPECT_EQ(currentOf(history), "none");
}

TEST(RecordHistory, keeps_a_record_until_the_last_interface_has_lost_it) {
    RecordHistory history;
    history.add(2, 0, "same");
    history.add(3, 0, "same");
    history.add(3, 1, "same");
    history.remove(3, 1, "same");
    history.remove(2, 0, "same");
    EXPECT_EQ(currentOf(history), "same");
    history.remove(3, 0, "same");
    EXPECT_EQ(currentOf(history), "none");
}

TEST(RecordHistory, falls_back_to_the_record_that_is_left) {
    RecordHistory history;
    history.add(2, 0, "a");
    history.add(3, 0, "b");
    history.remove(3, 0, "b");
    EXPECT_EQ(currentOf(history), "a");
}

TEST(RecordHistory, ignores_the_end_of_what_it_never_saw) {
    RecordHistory history;
    history.add(2, 0, "a");
    history.remove(2, 0, "b");
    history.remove(3, 0, "a");
    EXPECT_EQ(currentOf(history), "a");
}

TEST(RecordHistory, forgets_the_oldest_of_a_flood) {
    RecordHistory history;
    for (std::size_t i = 0; i < RecordHistory::maximumEntries + 1; ++i)
        history.add(2, 0, std::to_string(i));
    for (std::size_t i = RecordHistory::maximumEntries; i > 0; --i) {
        EXPECT_EQ(currentOf(history), std::to_string(i));
        history.remove(2, 0, std::to_string(i));
    }
    EXPECT_EQ(currentOf(history), "none");
}

}  // namespace
}  // namespace quillbay::dnssd
