#include "platform/RepeatingTimer.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "fakes/ManualClock.h"
#include "fakes/TestMainQueue.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;

class RepeatingTimerTest : public ::testing::Test {
 protected:
    void advance(std::chrono::milliseconds duration) {
        clock.advance(duration);
        queue.postDueTimers();
        bool last = false;
        queue.post([&] { last = true; });
        ASSERT_TRUE(queue.runUntil([&] { return last; }, 20s));
    }

    fakes::ManualClock clock;
    fakes::TestMainQueue queue{clock};
    int runs = 0;
};

TEST_F(RepeatingTimerTest, runs_once_in_each_interval_and_first_after_one) {
    const RepeatingTimer timer(queue, 5s, [this] { ++runs; });
    advance(4999ms);
    EXPECT_EQ(runs, 0);
    advance(1ms);
    EXPECT_EQ(runs, 1);
    advance(4999ms);
    EXPECT_EQ(runs, 1);
    advance(1ms);
    EXPECT_EQ(runs, 2);
}

TEST_F(RepeatingTimerTest, does_not_make_up_for_what_it_missed) {
    const RepeatingTimer timer(queue, 5s, [this] { ++runs; });
    advance(60s);
    EXPECT_EQ(runs, 1);
    advance(5s);
    EXPECT_EQ(runs, 2);
}

TEST_F(RepeatingTimerTest, ends_when_it_is_dropped) {
    auto timer = std::make_optional<RepeatingTimer>(queue, 5s, [this] { ++runs; });
    advance(5s);
    timer.reset();
    EXPECT_EQ(queue.waitingTimers(), 0U);
    advance(60s);
    EXPECT_EQ(runs, 1);
}

TEST_F(RepeatingTimerTest, its_task_may_drop_it) {
    std::optional<RepeatingTimer> timer;
    timer.emplace(queue, 5s, [&] {
        ++runs;
        timer.reset();
    });
    advance(5s);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(queue.waitingTimers(), 0U);
    advance(60s);
    EXPECT_EQ(runs, 1);
}

TEST_F(RepeatingTimerTest, does_not_run_when_it_is_dropped_after_its_time_has_come) {
    auto timer = std::make_optional<RepeatingTimer>(queue, 5s, [this] { ++runs; });
    clock.advance(5s);
    queue.post([&] { timer.reset(); });
    queue.postDueTimers();
    advance(0s);
    EXPECT_EQ(runs, 0);
}

TEST_F(RepeatingTimerTest, releases_what_its_task_holds) {
    const auto held = std::make_shared<int>();
    auto timer = std::make_optional<RepeatingTimer>(queue, 5s, [held] { static_cast<void>(*held); });
    EXPECT_EQ(held.use_count(), 2);
    timer.reset();
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace quillbay
