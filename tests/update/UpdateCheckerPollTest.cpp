// When a checker asks by itself.

#include <gtest/gtest.h>

#include "update/UpdateChecker.h"
#include "update/UpdateCheckerFixture.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using Manner = fakes::UpdateServer::Manner;

class UpdateCheckerPoll : public UpdateCheckerFixture {
 protected:
    /// Waits until the check that is under way has ended and the next one is due.
    void untilWaiting() {
        ASSERT_TRUE(world.until(
            [&] { return world.mainQueue.waitingTimers() == 1 && world.background.pending() == 0; }));
    }
};

TEST_F(UpdateCheckerPoll, the_first_check_is_at_the_start) {
    answerVersion("2.0");
    make("1.9.9");
    checker->start();
    EXPECT_TRUE(world.until([&] { return checker->hasCheckedSuccessfully(); }));
    EXPECT_EQ(availableVersion(), "2.0");
}

TEST_F(UpdateCheckerPoll, a_check_a_day_for_three_days) {
    answerVersion("1.9.9");
    make("1.9.9");
    checker->start();
    untilWaiting();
    EXPECT_EQ(requests(), 1U);
    for (std::size_t day = 1; day <= 3; ++day) {
        answerVersion("2." + std::to_string(day));
        world.advance(86'399'999ms);
        EXPECT_EQ(requests(), day) << "a check too early";
        EXPECT_EQ(world.background.pending(), 0U);
        world.advance(1ms);
        untilWaiting();
        EXPECT_EQ(requests(), day + 1);
        EXPECT_EQ(availableVersion(), "2." + std::to_string(day));
    }
}

TEST_F(UpdateCheckerPoll, a_failed_check_does_not_end_the_polling) {
    answer("oh dear");
    make("1.9.9");
    checker->start();
    untilWaiting();
    EXPECT_FALSE(checker->hasCheckedSuccessfully());
    answerVersion("2.0");
    world.advance(24h);
    untilWaiting();
    EXPECT_EQ(availableVersion(), "2.0");
}

TEST_F(UpdateCheckerPoll, the_day_begins_at_the_end_of_a_check) {
    server.set("updates.test", fakes::httpAnswer("{}"), Manner::holds);
    make("1.9.9");
    checker->start();
    ASSERT_TRUE(world.until([&] { return requests() == 1; }));
    world.advance(25h);
    server.release();
    untilWaiting();
    world.advance(24h - 1ms);
    EXPECT_EQ(requests(), 1U);
    EXPECT_EQ(world.background.pending(), 0U);
    answerVersion("2.0");
    world.advance(1ms);
    untilWaiting();
    EXPECT_EQ(requests(), 2U);
}

TEST_F(UpdateCheckerPoll, a_second_start_does_nothing) {
    answerVersion("1.9.9");
    make("1.9.9");
    checker->start();
    checker->start();
    untilWaiting();
    checker->start();
    world.settle();
    EXPECT_EQ(world.background.pending(), 0U);
    EXPECT_EQ(requests(), 1U);
    world.advance(24h);
    untilWaiting();
    EXPECT_EQ(requests(), 2U);
}

TEST_F(UpdateCheckerPoll, a_development_build_with_version_0_0_0_never_polls) {
    answerVersion("2.0");
    make("0.0.0");
    checker->start();
    world.advance(72h);
    EXPECT_EQ(world.background.pending(), 0U);
    EXPECT_EQ(world.mainQueue.waitingTimers(), 0U);
    EXPECT_EQ(requests(), 0U);
    // It can still be asked to look.
    check();
    EXPECT_EQ(availableVersion(), "2.0");
}

TEST_F(UpdateCheckerPoll, a_check_between_two_moves_neither) {
    answerVersion("1.9.9");
    make("1.9.9");
    checker->start();
    untilWaiting();
    world.advance(12h);
    check();
    EXPECT_EQ(requests(), 2U);
    world.advance(12h);
    untilWaiting();
    EXPECT_EQ(requests(), 3U);
}

TEST_F(UpdateCheckerPoll, dropping_the_checker_ends_the_polling) {
    answerVersion("1.9.9");
    make("1.9.9");
    checker->start();
    untilWaiting();
    checker.reset();
    EXPECT_EQ(world.mainQueue.waitingTimers(), 0U);
    world.advance(48h);
    EXPECT_EQ(world.background.pending(), 0U);
    EXPECT_EQ(requests(), 1U);
}

}  // namespace
}  // namespace quillbay
