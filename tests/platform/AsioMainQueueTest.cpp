#include "platform/AsioMainQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "platform/MainQueueSuite.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;

struct AsioLoop {
    AsioMainQueue queue;
    void run() { queue.run(); }
    void stop() { queue.stop(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(AsioMainQueue, MainQueueSuite, AsioLoop);

TEST(AsioMainQueue, may_run_on_another_thread_than_the_one_that_made_it) {
    AsioMainQueue queue;
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

}  // namespace
}  // namespace quillbay
