#include "platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <vector>

#include "fakes/ProcessResources.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using fakes::waitUntil;

using SerialQueueTest = fakes::LeavesNothingBehind;

TEST_F(SerialQueueTest, runs_tasks_in_the_order_posted_and_never_two_at_once) {
    const SerialQueue queue = SerialQueue::withOwnThread("files");
    EXPECT_EQ(queue.label(), "files");
    std::vector<int> order;  // written by the tasks without a lock: the queue is one
    std::vector<int> expected;
    for (int i = 0; i < 1000; ++i) {
        queue.post([&order, i] { order.push_back(i); });
        expected.push_back(i);
    }
    queue.sync([] {});
    EXPECT_EQ(order, expected);
}

TEST_F(SerialQueueTest, a_task_posted_on_the_queue_is_not_overtaken_by_a_later_one_from_elsewhere) {
    const SerialQueue queue = SerialQueue::withOwnThread("order");
    std::vector<int> order;
    std::promise<void> firstPosted;
    std::promise<void> secondPosted;
    queue.post([&] {
        queue.post([&] { order.push_back(1); });
        firstPosted.set_value();
        secondPosted.get_future().wait();
    });
    firstPosted.get_future().wait();
    queue.post([&] { order.push_back(2); });
    secondPosted.set_value();
    queue.sync([] {});
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(SerialQueueTest, sync_waits_and_passes_exceptions_on) {
    const SerialQueue queue = SerialQueue::withOwnThread("sync");
    bool ran = false;
    queue.sync([&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_THROW(queue.sync([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
    queue.sync([&] { ran = false; });
    EXPECT_FALSE(ran);
}

TEST_F(SerialQueueTest, its_last_copy_waits_for_what_was_posted) {
    std::atomic<int> ran = 0;
    {
        const SerialQueue queue = SerialQueue::withOwnThread("last");
        const SerialQueue copy = queue;
        for (int i = 0; i < 100; ++i)
            copy.post([&] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST_F(SerialQueueTest, its_last_copy_may_be_dropped_by_a_task) {
    std::promise<void> begun;
    std::atomic<int> ran = 0;
    {
        const SerialQueue queue = SerialQueue::withOwnThread("self");
        auto owner = std::make_shared<SerialQueue>(queue);
        auto gate = begun.get_future().share();
        queue.post([&ran, owner = std::move(owner), gate]() mutable {
            gate.wait();
            owner->post([&ran] { ++ran; });
            owner.reset();
            ++ran;
        });
    }
    begun.set_value();
    EXPECT_TRUE(waitUntil([&] { return ran == 2; }));
}

}  // namespace
}  // namespace quillbay
