#include "platform/BackgroundWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include "fakes/ProcessResources.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using fakes::waitUntil;

using BackgroundWorkTest = fakes::LeavesNothingBehind;

TEST_F(BackgroundWorkTest, runs_work_on_another_thread) {
    std::promise<std::thread::id> thread;
    BackgroundWork background;
    background.run([&](const StopToken&) { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
    EXPECT_TRUE(waitUntil([&] { return background.pending() == 0; }));
}

TEST_F(BackgroundWorkTest, runs_pieces_at_the_same_time) {
    std::promise<void> first;
    std::promise<void> second;
    BackgroundWork background;
    background.run([&](const StopToken&) {
        first.set_value();
        second.get_future().wait();
    });
    background.run([&](const StopToken&) {
        first.get_future().wait();
        second.set_value();
    });
    EXPECT_TRUE(waitUntil([&] { return background.pending() == 0; }));
}

TEST_F(BackgroundWorkTest, abandons_one_piece_and_leaves_the_others) {
    std::atomic<int> ended = 0;
    BackgroundWork background;
    const auto sleep = [&](const StopToken& token) {
        static_cast<void>(token.sleepFor(1h));
        ++ended;
    };
    const StopSource first = background.run(sleep);
    const StopSource second = background.run(sleep);
    EXPECT_EQ(background.pending(), 2U);
    first.requestStop();
    EXPECT_TRUE(waitUntil([&] { return background.pending() == 1; }));
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(second.token().stopRequested());
}

TEST_F(BackgroundWorkTest, abandons_everything_and_waits_when_it_is_destroyed) {
    std::atomic<int> ended = 0;
    {
        BackgroundWork background;
        for (int i = 0; i < 10; ++i) {
            background.run([&](const StopToken& token) {
                static_cast<void>(token.sleepFor(1h));
                ++ended;
            });
        }
    }
    EXPECT_EQ(ended, 10);
}

TEST_F(BackgroundWorkTest, destroys_what_the_work_captured_before_it_counts_as_ended) {
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = captured;
    {
        BackgroundWork background;
        background.run([captured = std::move(captured)](const StopToken&) {});
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(BackgroundWorkTest, abandons_a_piece_that_is_started_while_it_is_destroyed) {
    std::atomic<bool> innerEnded = false;
    auto destroyed = std::async(std::launch::async, [&] {
        BackgroundWork background;
        background.run([&](const StopToken& token) {
            static_cast<void>(token.sleepFor(1h));
            // All that run have been told by now; this one comes too late for that.
            static_cast<void>(StopToken().sleepFor(20ms));
            background.run([&](const StopToken& inner) {
                static_cast<void>(inner.sleepFor(1h));
                innerEnded = true;
            });
        });
    });
    ASSERT_EQ(destroyed.wait_for(20s), std::future_status::ready);
    EXPECT_TRUE(innerEnded);
}

}  // namespace
}  // namespace quillbay
