#include "core/ScanProgress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ManualClock.h"
#include "fakes/TestMainQueue.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ScanProgressTest : public ::testing::Test {
 protected:
    void probe(int ports) {
        for (int i = 0; i < ports; ++i)
            progress->portProbed();
    }
    void runAll() {
        bool last = false;
        queue.post([&] { last = true; });
        ASSERT_TRUE(queue.runUntil([&] { return last; }, std::chrono::seconds(20)));
    }

    fakes::ManualClock clock;
    fakes::TestMainQueue queue{clock};
    std::vector<std::size_t> told;
    std::shared_ptr<ScanProgress> progress =
        std::make_shared<ScanProgress>(queue, clock, [this](std::size_t probed) { told.push_back(probed); });
};

TEST_F(ScanProgressTest, tells_what_was_probed_when_the_main_queue_comes_to_it) {
    probe(1);
    EXPECT_THAT(told, IsEmpty());
    probe(4);
    runAll();
    EXPECT_THAT(told, ElementsAre(5U));
    EXPECT_EQ(progress->probed(), 5U);
}

TEST_F(ScanProgressTest, tells_ten_times_a_second_at_most) {
    for (int millisecond = 0; millisecond < 1000; ++millisecond) {
        probe(1);
        runAll();
        clock.advance(1ms);
    }
    EXPECT_THAT(told, ElementsAre(1U, 101U, 201U, 301U, 401U, 501U, 601U, 701U, 801U, 901U));
}

TEST_F(ScanProgressTest, has_one_task_at_a_time_in_a_main_queue_that_is_busy) {
    for (int second = 0; second < 60; ++second) {
        probe(10);
        clock.advance(1s);
    }
    runAll();
    EXPECT_THAT(told, ElementsAre(600U));
}

}  // namespace
}  // namespace quillbay
