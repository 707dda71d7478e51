#include "platform/AsioMainQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace quillbay {
namespace {

using namespace std::chrono_literals;

TEST(AsioMainQueue, runs_tasks_in_order_and_never_inside_post) {
    AsioMainQueue queue;
    std::vector<int> order;
    queue.post([&] {
        queue.post([&] {
            order.push_back(3);
            queue.stop();
        });
        order.push_back(1);
    });
    queue.post([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    queue.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(AsioMainQueue, knows_its_thread) {
    AsioMainQueue queue;
    EXPECT_TRUE(queue.isCurrent());
    std::promise<bool> inside;
    std::thread main([&] {
        queue.post([&] {
            inside.set_value(queue.isCurrent());
            queue.stop();
        });
        queue.run();
    });
    EXPECT_TRUE(inside.get_future().get());
    main.join();
    EXPECT_FALSE(queue.isCurrent());
}

TEST(AsioMainQueue, stop_from_another_thread_ends_the_run_and_drops_the_rest) {
    AsioMainQueue queue;
    bool late = false;
    std::promise<void> started;
    std::promise<void> stopped;
    queue.post([&] {
        started.set_value();
        stopped.get_future().wait();
    });
    queue.post([&] { late = true; });
    std::thread other([&] {
        started.get_future().wait();
        queue.stop();
        stopped.set_value();
    });
    queue.run();
    other.join();
    EXPECT_FALSE(late);
}

TEST(AsioMainQueue, runs_until_a_condition_holds) {
    AsioMainQueue queue;
    int ran = 0;
    for (int i = 0; i < 5; ++i)
        queue.post([&] { ++ran; });
    EXPECT_TRUE(queue.runUntil([&] { return ran == 3; }, 20s));
    EXPECT_EQ(ran, 3);
    EXPECT_TRUE(queue.runUntil([&] { return ran == 5; }, 20s));
}

TEST(AsioMainQueue, notices_a_condition_that_nobody_posts_about) {
    AsioMainQueue queue;
    std::atomic<bool> done = false;
    std::thread other([&] { done = true; });
    EXPECT_TRUE(queue.runUntil([&] { return done.load(); }, 20s));
    other.join();
}

TEST(AsioMainQueue, gives_up_at_the_limit_and_when_stopped) {
    AsioMainQueue queue;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(queue.runUntil([] { return false; }, 20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
    queue.post([&] { queue.stop(); });
    EXPECT_FALSE(queue.runUntil([] { return false; }, 1h));
    EXPECT_TRUE(queue.runUntil([] { return true; }, 1h));
}

TEST(AsioMainQueue, runs_a_timers_task_on_its_thread_when_the_delay_has_passed) {
    AsioMainQueue queue;
    const auto begin = std::chrono::steady_clock::now();
    std::vector<int> order;
    const auto later = queue.after(40ms, [&] {
        EXPECT_TRUE(queue.isCurrent());
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 40ms);
        order.push_back(2);
        queue.stop();
    });
    const auto sooner = queue.after(0ms, [&] { order.push_back(1); });
    EXPECT_TRUE(order.empty()) << "within the call";
    queue.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(AsioMainQueue, a_timer_that_was_dropped_runs_no_task) {
    AsioMainQueue queue;
    bool ran = false;
    auto dropped = queue.after(0ms, [&] { ran = true; });
    dropped.reset();
    const auto last = queue.after(20ms, [&] { queue.stop(); });
    queue.run();
    EXPECT_FALSE(ran);
}

TEST(AsioMainQueue, a_timer_dropped_when_its_time_has_come_runs_no_task) {
    AsioMainQueue queue;
    bool ran = false;
    std::unique_ptr<MainTimer> second;
    // Both are due before the queue runs, so the second one's task is queued when the first one drops it.
    const auto first = queue.after(0ms, [&] { second.reset(); });
    second = queue.after(0ms, [&] { ran = true; });
    const auto last = queue.after(20ms, [&] { queue.stop(); });
    std::this_thread::sleep_for(5ms);
    queue.run();
    EXPECT_FALSE(ran);
}

TEST(AsioMainQueue, a_timers_task_may_drop_its_timer_and_what_it_holds_goes_with_it) {
    AsioMainQueue queue;
    const auto held = std::make_shared<int>();
    std::unique_ptr<MainTimer> timer;
    timer = queue.after(0ms, [&timer, &queue, held] {
        timer.reset();
        EXPECT_EQ(held.use_count(), 2) << "the task that runs is still whole";
        queue.stop();
    });
    queue.run();
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace quillbay
