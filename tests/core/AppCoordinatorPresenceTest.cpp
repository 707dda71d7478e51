// How the coordinator finds out whether a captured phone is still there.

#include <chrono>

#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using Published = AppCoordinator::Published;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppCoordinatorPresence : public CoordinatorTest {
 protected:
    /// Lets `duration` pass, and each question be answered when it is asked.
    void pass(std::chrono::seconds duration) {
        for (; duration > 0s; duration -= 1s) {
            world.advance(1s);
            ASSERT_TRUE(untilQuiet());
        }
    }
};

TEST_F(AppCoordinatorPresence, a_phone_that_stays_near_stays_listed) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("near.local"));
    network.answer("near.local", PresenceAnswer::answered);
    for (int tick = 0; tick < 60; ++tick) {
        world.advance(5s);
        ASSERT_TRUE(untilQuiet());
        ASSERT_THAT(hosts(), ElementsAre("near.local")) << "after " << 5 * (tick + 1) << " seconds";
    }
    EXPECT_LE(world.clock.now() - coordinator->capturedServices().at(0).lastSeen, 5s);
    EXPECT_THAT(network.timeouts(), Each(1500ms));
}

TEST_F(AppCoordinatorPresence, asks_only_for_what_was_quiet_for_five_seconds) {
    make();
    coordinator->startDiscovery();
    world.advance(1s);
    coordinator->upsertCapturedService(service("four.local"));
    coordinator->upsertCapturedService(service("five.local", 1s));
    world.advance(4s);
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(network.askedFor("four.local"), 0U);
    EXPECT_GE(network.askedFor("five.local"), 1U);
}

TEST_F(AppCoordinatorPresence, a_phone_that_left_disappears_15_to_20_seconds_after_its_last_sign) {
    for (const auto offset : {0s, 1s, 2s, 3s, 4s}) {
        SCOPED_TRACE(offset.count());
        make();
        coordinator->startDiscovery();
        coordinator->upsertCapturedService(service("near.local"));
        network.answer("near.local", PresenceAnswer::answered);
        pass(20s + offset);
        const auto lastSign = world.clock.now();
        coordinator->upsertCapturedService(service("near.local"));
        network.answer("near.local", PresenceAnswer::silent);
        while (!hosts().empty() && world.clock.now() - lastSign < 60s)
            pass(1s);
        EXPECT_GE(world.clock.now() - lastSign, 15s);
        EXPECT_LE(world.clock.now() - lastSign, 20s);
    }
}

TEST_F(AppCoordinatorPresence, a_computer_that_cannot_ask_does_not_count_as_an_answer) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("left.local"));
    network.answer("left.local", PresenceAnswer::couldNotAsk);
    pass(14s);
    EXPECT_GE(network.askedFor("left.local"), 1U);
    EXPECT_THAT(hosts(), ElementsAre("left.local"));
    pass(1s);
    EXPECT_THAT(hosts(), IsEmpty());
}

TEST_F(AppCoordinatorPresence, does_not_ask_again_while_a_question_is_in_flight) {
    make();
    coordinator->startDiscovery();
    network.hold();
    network.answer("near.local", PresenceAnswer::answered);
    coordinator->upsertCapturedService(service("near.local"));
    world.advance(5s);
    ASSERT_TRUE(world.until([&] { return network.askedFor("near.local") == 1; }));
    world.advance(5s);
    EXPECT_EQ(network.askedFor("near.local"), 1U);
    network.release();
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(network.askedFor("near.local"), 1U);
    EXPECT_EQ(coordinator->capturedServices().at(0).lastSeen, world.clock.now());
}

TEST_F(AppCoordinatorPresence, a_phone_that_comes_back_is_listed_again) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("back.local"));
    network.answer("back.local", PresenceAnswer::silent);
    pass(60s);
    ASSERT_THAT(hosts(), IsEmpty());
    network.answer("back.local", PresenceAnswer::answered);
    pass(5s);
    EXPECT_THAT(hosts(), ElementsAre("back.local"));
    EXPECT_LE(world.clock.now() - coordinator->capturedServices().at(0).lastSeen, 5s);
}

TEST_F(AppCoordinatorPresence, a_phone_that_has_gone_is_asked_for_until_its_record_is_forgotten) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("gone.local"));
    network.answer("gone.local", PresenceAnswer::silent);
    pass(170s);
    const std::size_t asked = network.askedFor("gone.local");
    pass(10s);
    const std::size_t askedAtTheEnd = network.askedFor("gone.local");
    EXPECT_GT(askedAtTheEnd, asked);
    pass(60s);
    EXPECT_EQ(network.askedFor("gone.local"), askedAtTheEnd);
    network.answer("gone.local", PresenceAnswer::answered);
    pass(10s);
    EXPECT_THAT(hosts(), IsEmpty());
}

TEST_F(AppCoordinatorPresence, an_answer_for_a_host_that_has_become_our_own_lists_nothing) {
    const fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    make();
    const DeviceProfile mine = profile("phone", phone.port());
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("phone.local"));
    network.hold();
    network.answer("phone.local", PresenceAnswer::answered);
    for (int tick = 0; tick < 3; ++tick)
        world.advance(5s);
    ASSERT_THAT(hosts(), IsEmpty());
    ASSERT_TRUE(world.until([&] { return network.askedFor("phone.local") >= 1; }));
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
    coordinator->start(mine);
    ASSERT_TRUE(world.until([&] { return coordinator->status(mine.id()).kind == BridgeStatus::Kind::on; }));
    network.release();
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(hosts(), IsEmpty());
}

TEST_F(AppCoordinatorPresence, ends_with_the_coordinator_at_once) {
    make();
    coordinator->startDiscovery();
    ASSERT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 1; }));
    network.hold();
    for (int i = 0; i < 100; ++i)
        coordinator->upsertCapturedService(service("phone-" + std::to_string(i) + "x.local"));
    world.advance(5s);
    ASSERT_TRUE(world.until([&] { return !network.asked().empty(); }));
    coordinator.reset();
    ASSERT_TRUE(untilQuiet());
    const std::size_t asked = network.asked().size();
    EXPECT_LT(asked, 100U);
    world.advance(60s);
    EXPECT_EQ(network.asked().size(), asked);
    EXPECT_EQ(world.mainQueue.waitingTimers(), 0U);
    EXPECT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 0; }));
}

TEST_F(AppCoordinatorPresence, a_computer_that_slept_does_not_forget_the_phones) {
    make();
    coordinator->startDiscovery();
    network.answer("near.local", PresenceAnswer::answered);
    coordinator->upsertCapturedService(service("near.local", 1s));
    coordinator->upsertCapturedService(service("left.local", 1s));
    world.clock.setForward(8h);
    world.advance(5s);
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(hosts(), ElementsAre("left.local", "near.local"));
    EXPECT_EQ(coordinator->capturedServices().at(0).lastSeen, world.clock.now() - 6s);
    world.clock.setForward(-1h);
    pass(15s);
    EXPECT_THAT(hosts(), ElementsAre("near.local"));
}

TEST_F(AppCoordinatorPresence, a_computer_whose_time_goes_on_in_its_sleep_does_not_forget_the_phones_either) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("near.local", 1s));
    world.advance(8h);
    EXPECT_THAT(hosts(), ElementsAre("near.local"));
    EXPECT_EQ(coordinator->capturedServices().at(0).lastSeen, world.clock.now() - 6s);
}

TEST_F(AppCoordinatorPresence, a_phone_seen_between_a_sleep_and_the_next_check_still_goes_when_it_leaves) {
    for (const auto step : {8h, -8h}) {
        SCOPED_TRACE(step.count());
        make();
        coordinator->startDiscovery();
        pass(7s);
        world.clock.setForward(step);
        world.advance(1s);
        coordinator->upsertCapturedService(service("new.local"));
        pass(2s);
        ASSERT_THAT(hosts(), ElementsAre("new.local"));
        EXPECT_LE(coordinator->capturedServices().at(0).lastSeen, world.clock.now());
        pass(20s);
        EXPECT_THAT(hosts(), IsEmpty());
    }
}

TEST_F(AppCoordinatorPresence, looking_anew_just_after_a_sleep_does_not_forget_the_phones) {
    make();
    coordinator->startDiscovery();
    pass(3s);
    coordinator->upsertCapturedService(service("near.local"));
    world.clock.setForward(8h);
    coordinator->startDiscovery();
    pass(5s);
    EXPECT_THAT(hosts(), ElementsAre("near.local"));
}

}  // namespace
}  // namespace quillbay
