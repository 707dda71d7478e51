#include "platform/Observers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace quillbay {
namespace {

using ::testing::ElementsAre;

TEST(Observers, are_told_in_the_order_in_which_they_came) {
    Observers<std::string, int> observers;
    std::vector<std::string> told;
    const auto first = observers.add([&](const std::string& text, int number) {
        told.push_back("first " + text + std::to_string(number));
    });
    const auto second = observers.add([&](const std::string& text, int number) {
        told.push_back("second " + text + std::to_string(number));
    });
    observers.notify("a", 1);
    EXPECT_THAT(told, ElementsAre("first a1", "second a1"));
}

TEST(Observers, hear_nothing_after_their_subscription_has_ended) {
    Observers<> observers;
    int told = 0;
    {
        const auto subscription = observers.add([&] { ++told; });
        observers.notify();
    }
    observers.notify();
    EXPECT_EQ(told, 1);
    auto subscription = observers.add([&] { ++told; });
    subscription.reset();
    subscription.reset();
    observers.notify();
    EXPECT_EQ(told, 1);
}

TEST(Observers, a_subscription_that_is_moved_goes_on) {
    Observers<> observers;
    int first = 0;
    int second = 0;
    auto kept = observers.add([&] { ++first; });
    Subscription moved = std::move(kept);
    observers.notify();
    EXPECT_EQ(first, 1);
    moved = observers.add([&] { ++second; });
    observers.notify();
    EXPECT_EQ(first, 1) << "assigning over it ends the earlier one";
    EXPECT_EQ(second, 1);
}

TEST(Observers, may_end_any_subscription_while_they_are_told) {
    Observers<> observers;
    std::vector<int> told;
    std::optional<Subscription> own;
    std::optional<Subscription> other;
    own = observers.add([&] {
        told.push_back(1);
        own.reset();
        other.reset();
    });
    other = observers.add([&] { told.push_back(2); });
    const auto last = observers.add([&] { told.push_back(3); });
    observers.notify();
    EXPECT_THAT(told, ElementsAre(1, 3));
    told.clear();
    observers.notify();
    EXPECT_THAT(told, ElementsAre(3));
}

TEST(Observers, one_that_is_added_meanwhile_hears_of_the_next_event) {
    Observers<> observers;
    std::vector<int> told;
    std::optional<Subscription> added;
    const auto first = observers.add([&] {
        told.push_back(1);
        if (!added) added = observers.add([&] { told.push_back(2); });
    });
    observers.notify();
    EXPECT_THAT(told, ElementsAre(1));
    observers.notify();
    EXPECT_THAT(told, ElementsAre(1, 1, 2));
}

TEST(Observers, may_drop_the_owner_of_the_list_while_they_are_told) {
    std::optional<Observers<>> observers(std::in_place);
    std::vector<int> told;
    const auto first = observers->add([&] {
        observers.reset();
        told.push_back(1);
    });
    const auto second = observers->add([&] { told.push_back(2); });
    observers->notify();
    EXPECT_FALSE(observers);
    EXPECT_THAT(told, ElementsAre(1, 2));
}

TEST(Observers, a_subscription_may_outlive_the_list) {
    std::optional<Observers<>> observers(std::in_place);
    const auto subscription = observers->add([] {});
    observers.reset();
}

TEST(Observers, what_an_observer_holds_goes_with_its_subscription) {
    Observers<> observers;
    const auto held = std::make_shared<int>();
    auto subscription = observers.add([held] {});
    EXPECT_EQ(held.use_count(), 2);
    subscription.reset();
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace quillbay
