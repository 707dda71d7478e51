#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "platform/MainQueue.h"

namespace quillbay {

/// What every main queue does, whatever loop it is on. `Loop` has a `queue`, `run` (until it is stopped) and
/// `stop` (on any thread).
template <typename Loop>
class MainQueueSuite : public ::testing::Test {
 protected:
    Loop loop;
};

TYPED_TEST_SUITE_P(MainQueueSuite);

TYPED_TEST_P(MainQueueSuite, runs_tasks_in_order_and_never_inside_post) {
    MainQueue& queue = this->loop.queue;
    std::vector<int> order;
    queue.post([&] {
        queue.post([&] {
            order.push_back(3);
            this->loop.stop();
        });
        order.push_back(1);
    });
    queue.post([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    this->loop.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TYPED_TEST_P(MainQueueSuite, knows_its_thread) {
    MainQueue& queue = this->loop.queue;
    EXPECT_TRUE(queue.isCurrent());
    std::promise<bool> elsewhere;
    bool inside = false;
    std::thread other([&] {
        elsewhere.set_value(queue.isCurrent());
        queue.post([&] {
            inside = queue.isCurrent();
            this->loop.stop();
        });
    });
    this->loop.run();
    other.join();
    EXPECT_TRUE(inside);
    EXPECT_FALSE(elsewhere.get_future().get());
}

TYPED_TEST_P(MainQueueSuite, takes_tasks_from_several_threads_each_in_its_order) {
    MainQueue& queue = this->loop.queue;
    constexpr int each = 2000;
    std::vector<int> first;
    std::vector<int> second;
    const auto poster = [&queue](std::vector<int>& seen) {
        return [&queue, &seen] {
            for (int i = 0; i < each; ++i)
                queue.post([&seen, i] { seen.push_back(i); });
        };
    };
    std::thread one(poster(first));
    std::thread two(poster(second));
    std::thread last([&] {
        one.join();
        two.join();
        queue.post([&] { this->loop.stop(); });
    });
    this->loop.run();
    last.join();
    std::vector<int> expected(each);
    for (int i = 0; i < each; ++i)
        expected[static_cast<std::size_t>(i)] = i;
    EXPECT_EQ(first, expected);
    EXPECT_EQ(second, expected);
}

TYPED_TEST_P(MainQueueSuite, a_task_that_never_runs_gives_back_what_it_holds) {
    const auto held = std::make_shared<int>();
    {
        TypeParam shortLived;
        shortLived.queue.post([held] {});
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(held.use_count(), 1);
}

TYPED_TEST_P(MainQueueSuite, runs_a_timers_task_on_its_thread_when_the_delay_has_passed) {
    using namespace std::chrono_literals;
    MainQueue& queue = this->loop.queue;
    const auto begin = std::chrono::steady_clock::now();
    std::vector<int> order;
    const auto later = queue.after(40ms, [&] {
        EXPECT_TRUE(queue.isCurrent());
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 40ms);
        order.push_back(2);
        this->loop.stop();
    });
    const auto sooner = queue.after(0ms, [&] { order.push_back(1); });
    EXPECT_TRUE(order.empty()) << "within the call";
    this->loop.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TYPED_TEST_P(MainQueueSuite, a_timer_that_was_dropped_runs_no_task) {
    using namespace std::chrono_literals;
    MainQueue& queue = this->loop.queue;
    bool ran = false;
    auto dropped = queue.after(0ms, [&] { ran = true; });
    dropped.reset();
    const auto last = queue.after(20ms, [&] { this->loop.stop(); });
    this->loop.run();
    EXPECT_FALSE(ran);
}

TYPED_TEST_P(MainQueueSuite, a_timer_dropped_when_its_time_has_come_runs_no_task) {
    using namespace std::chrono_literals;
    MainQueue& queue = this->loop.queue;
    bool ran = false;
    std::unique_ptr<MainTimer> second;
    // Both are due before the queue runs, so the second one's task is queued when the first one drops it.
    const auto first = queue.after(0ms, [&] { second.reset(); });
    second = queue.after(0ms, [&] { ran = true; });
    const auto last = queue.after(20ms, [&] { this->loop.stop(); });
    std::this_thread::sleep_for(5ms);
    this->loop.run();
    EXPECT_FALSE(ran);
}

TYPED_TEST_P(MainQueueSuite, a_timers_task_may_drop_its_timer_and_what_it_holds_goes_with_it) {
    using namespace std::chrono_literals;
    MainQueue& queue = this->loop.queue;
    const auto held = std::make_shared<int>();
    std::unique_ptr<MainTimer> timer;
    timer = queue.after(0ms, [&timer, this, held] {
        timer.reset();
        EXPECT_EQ(held.use_count(), 2) << "the task that runs is still whole";
        this->loop.stop();
    });
    this->loop.run();
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(held.use_count(), 1);
}

REGISTER_TYPED_TEST_SUITE_P(MainQueueSuite, runs_tasks_in_order_and_never_inside_post, knows_its_thread,
                            takes_tasks_from_several_threads_each_in_its_order,
                            a_task_that_never_runs_gives_back_what_it_holds,
                            runs_a_timers_task_on_its_thread_when_the_delay_has_passed,
                            a_timer_that_was_dropped_runs_no_task,
                            a_timer_dropped_when_its_time_has_come_runs_no_task,
                            a_timers_task_may_drop_its_timer_and_what_it_holds_goes_with_it);

}  // namespace quillbay
