#include "platform/StopToken.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <utility>
#include <vector>

namespace quillbay {
namespace {

using namespace std::chrono_literals;

TEST(StopToken, without_a_source_is_never_stopped) {
    const StopToken token;
    EXPECT_FALSE(token.stopRequested());
    EXPECT_TRUE(token.sleepFor(1ms));
    int calls = 0;
    {
        const StopRegistration registration = token.onStop([&] { ++calls; });
    }
    EXPECT_EQ(calls, 0);
}

TEST(StopToken, sleeps_for_the_whole_time_when_nobody_stops) {
    const StopSource source;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(source.token().sleepFor(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
}

TEST(StopToken, ends_every_sleep_at_once) {
    const StopSource source;
    std::vector<std::future<bool>> sleeps;
    for (int i = 0; i < 3; ++i)
        sleeps.push_back(
            std::async(std::launch::async, [token = source.token()] { return token.sleepFor(1h); }));
    EXPECT_EQ(sleeps.front().wait_for(10ms), std::future_status::timeout);
    source.requestStop();
    for (std::future<bool>& sleep : sleeps) {
        ASSERT_EQ(sleep.wait_for(20s), std::future_status::ready);
        EXPECT_FALSE(sleep.get());
    }
    EXPECT_FALSE(source.token().sleepFor(1h));
    EXPECT_TRUE(source.token().stopRequested());
}

TEST(StopToken, is_not_stopped_when_its_source_is_destroyed) {
    StopToken token;
    {
        const StopSource source;
        token = source.token();
    }
    EXPECT_FALSE(token.stopRequested());
    EXPECT_TRUE(token.sleepFor(1ms));
}

TEST(StopToken, runs_each_callback_once) {
    const StopSource source;
    int first = 0;
    int second = 0;
    const StopRegistration one = source.token().onStop([&] { ++first; });
    const StopRegistration two = source.token().onStop([&] { ++second; });
    source.requestStop();
    source.requestStop();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(StopToken, runs_a_late_callback_at_once) {
    const StopSource source;
    source.requestStop();
    std::thread::id thread;
    const StopRegistration registration = source.token().onStop([&] { thread = std::this_thread::get_id(); });
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(StopToken, runs_no_callback_whose_registration_was_dropped) {
    const StopSource source;
    int calls = 0;
    StopRegistration kept;
    {
        StopRegistration dropped = source.token().onStop([&] { ++calls; });
        kept = source.token().onStop([&] { calls += 10; });
        StopRegistration moved = std::move(dropped);
    }
    source.requestStop();
    EXPECT_EQ(calls, 10);
}

TEST(StopToken, dropping_a_registration_waits_for_the_running_callback) {
    const StopSource source;
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> left = false;
    StopRegistration registration = source.token().onStop([&] {
        entered.set_value();
        release.get_future().wait();
        left = true;
    });
    std::thread stopper([&] { source.requestStop(); });
    entered.get_future().wait();
    auto dropped = std::async(std::launch::async, [&] {
        registration = {};
        return left.load();
    });
    EXPECT_EQ(dropped.wait_for(20ms), std::future_status::timeout);
    release.set_value();
    EXPECT_TRUE(dropped.get());
    stopper.join();
}

TEST(StopToken, a_callback_may_end_the_registrations_of_others) {
    const StopSource source;
    int calls = 0;
    StopRegistration second;
    const StopRegistration first = source.token().onStop([&] { second = {}; });
    second = source.token().onStop([&] { ++calls; });
    source.requestStop();
    EXPECT_EQ(calls, 0);
}

/// What a callback captured goes with it, and may itself hold a registration with the same token.
TEST(StopToken, a_callback_may_own_another_registration) {
    const StopSource source;
    int calls = 0;
    auto finished = std::async(std::launch::async, [&] {
        auto inner = std::make_shared<StopRegistration>(source.token().onStop([&] { ++calls; }));
        StopRegistration dropped = source.token().onStop([inner] {});
        inner.reset();
        dropped = {};
        auto other = std::make_shared<StopRegistration>(source.token().onStop([&] { ++calls; }));
        StopRegistration run = source.token().onStop([other] {});
        other.reset();
        source.requestStop();
    });
    ASSERT_EQ(finished.wait_for(20s), std::future_status::ready);
    EXPECT_EQ(calls, 1);
}

TEST(StopToken, registrations_may_come_and_go_while_it_is_stopped) {
    for (int round = 0; round < 200; ++round) {
        const StopSource source;
        std::atomic<int> calls = 0;
        std::thread other([&] {
            for (int i = 0; i < 20; ++i) {
                std::atomic<bool> alive = true;
                const StopRegistration registration = source.token().onStop([&] {
                    EXPECT_TRUE(alive);
                    ++calls;
                });
                static_cast<void>(source.token().sleepFor(1us));
            }
        });
        source.requestStop();
        other.join();
        EXPECT_LE(calls, 20);
        EXPECT_TRUE(source.token().stopRequested());
    }
}

}  // namespace
}  // namespace quillbay
