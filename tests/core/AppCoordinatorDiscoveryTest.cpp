#include <chrono>

#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using Published = AppCoordinator::Published;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class AppCoordinatorDiscovery : public CoordinatorTest {
 protected:
    static std::string records(const std::string& instance, const std::string& host) {
        return instance + "._remotepairing._tcp SRV 0 0 49152 " + host + ". ; Replace with unicast FQDN\n" +
               instance + "._remotepairing._tcp TXT \"ver=24\" \"identifier=AB-12\"\n";
    }
    /// The capture runs, and so does the bridge of this phone, which is seen as this computer's own.
    void bridgeAndDiscover(const DeviceProfile& mine) {
        make();
        coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
        coordinator->startDiscovery();
        coordinator->start(mine);
        ASSERT_TRUE(
            world.until([&] { return coordinator->status(mine.id()).kind == BridgeStatus::Kind::on; }));
    }
};

TEST_F(AppCoordinatorDiscovery, starts_the_capture_of_phones_and_says_so) {
    make();
    EXPECT_EQ(coordinator->discoveryStarted(), std::nullopt);
    coordinator->startDiscovery();
    EXPECT_EQ(coordinator->discoveryStarted(), world.clock.steadyNow());
    EXPECT_THAT(lines(), ElementsAre("Bonjour scan started (_remotepairing._tcp)"));
    ASSERT_TRUE(world.until([&] { return world.tools.zoneDumps().size() == 1; }));
    EXPECT_THAT(world.tools.zoneDumps().at(0), ElementsAre("-Z", "_remotepairing._tcp", "local"));
}

TEST_F(AppCoordinatorDiscovery, starting_it_again_restarts_the_capture_and_replaces_the_timer) {
    make();
    coordinator->startDiscovery();
    ASSERT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 1; }));
    const std::size_t timers = world.mainQueue.waitingTimers();
    world.advance(3s);
    coordinator->startDiscovery();
    EXPECT_EQ(world.mainQueue.waitingTimers(), timers);
    EXPECT_EQ(coordinator->discoveryStarted(), world.clock.steadyNow());
    ASSERT_TRUE(world.until([&] { return world.tools.zoneDumps().size() == 2; }));
    EXPECT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 1; }));
    coordinator->upsertCapturedService(service("gone.local", 16s));
    world.advance(3s);
    EXPECT_THAT(hosts(), ElementsAre("gone.local")) << "the first timer still runs";
    world.advance(2s);
    EXPECT_THAT(hosts(), IsEmpty());
}

TEST_F(AppCoordinatorDiscovery, lists_a_phone_that_the_capture_sees) {
    make();
    coordinator->startDiscovery();
    world.tools.appendZoneText(records("Phone", "iPhone.local"));
    ASSERT_TRUE(world.until([&] {
        return !coordinator->capturedServices().empty() && !coordinator->capturedServices()[0].txt.empty();
    }));
    const CapturedBonjourService& seen = coordinator->capturedServices().at(0);
    EXPECT_EQ(seen.name, "Phone");
    EXPECT_EQ(seen.host, "iPhone.local");
    EXPECT_EQ(seen.port, 49152);
    EXPECT_EQ(seen.lastSeen, world.clock.now());
    EXPECT_EQ(seen.txt.at("identifier"), "AB-12");
    EXPECT_GE(changes[Published::capturedServices], 1);
}

TEST_F(AppCoordinatorDiscovery, hears_what_the_capture_has_to_say) {
    world.tools.removeDNSSD();
    make();
    coordinator->startDiscovery();
    EXPECT_TRUE(world.until([&] { return lines().size() == 2; }));
    EXPECT_THAT(lines(), Contains(::testing::HasSubstr("could not be launched")));
}

TEST_F(AppCoordinatorDiscovery,
       of_two_registrations_with_one_host_only_the_later_counts_and_hosts_are_sorted) {
    make();
    coordinator->upsertCapturedService(service("b.local"));
    coordinator->upsertCapturedService(service("c.local"));
    coordinator->upsertCapturedService(service("B.local"));
    CapturedBonjourService later = service("b.local");
    later.name = "renamed";
    later.port = 50000;
    coordinator->upsertCapturedService(later);
    coordinator->upsertCapturedService(service("a.local"));
    EXPECT_THAT(hosts(), ElementsAre("B.local", "a.local", "b.local", "c.local"));
    EXPECT_EQ(coordinator->capturedServices().at(2), later);
    EXPECT_EQ(changes[Published::capturedServices], 5);
}

TEST_F(AppCoordinatorDiscovery, a_service_last_seen_16_seconds_ago_is_gone_after_the_next_tick) {
    make();
    coordinator->startDiscovery();
    coordinator->upsertCapturedService(service("old.local", 11s));
    coordinator->upsertCapturedService(service("new.local", 0s));
    world.advance(4999ms);
    EXPECT_THAT(hosts(), ElementsAre("new.local", "old.local"));
    changes.clear();
    world.advance(1ms);
    EXPECT_THAT(hosts(), ElementsAre("new.local"));
    EXPECT_EQ(changes[Published::capturedServices], 1);
}

TEST_F(AppCoordinatorDiscovery, keeps_only_what_was_seen_after_the_cutoff) {
    make();
    CapturedBonjourService young = service("young.local", 15s);
    young.lastSeen += 1ms;
    coordinator->upsertCapturedService(service("old.local", 15s));
    coordinator->upsertCapturedService(young);
    coordinator->pruneStaleCapturedServices(15s);
    EXPECT_THAT(hosts(), ElementsAre("young.local"));
    changes.clear();
    coordinator->pruneStaleCapturedServices(15s);
    EXPECT_EQ(changes[Published::capturedServices], 0) << "nothing changed";
}

TEST_F(AppCoordinatorDiscovery, never_asks_for_the_host_that_this_computer_announces_and_does_not_offer_it) {
    const fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iPhone", phone.port());
    bridgeAndDiscover(mine);

    coordinator->upsertCapturedService(service("IPHONE.local"));
    coordinator->upsertCapturedService(service("other.local"));
    world.advance(5s);
    ASSERT_TRUE(world.until([&] { return network.askedFor("other.local") > 0; }));
    world.settle();
    EXPECT_EQ(network.askedFor("IPHONE.local"), 0U);

    world.tools.appendZoneText(records("Mine", "iPhone-2.local") + records("Theirs", "third.local"));
    ASSERT_TRUE(world.until([&] { return std::ranges::count(hosts(), "third.local") == 1; }));
    EXPECT_THAT(hosts(), Not(Contains("iPhone.local")));
    EXPECT_THAT(lines(), Contains(::testing::HasSubstr("self-loop, not a real device")));

    coordinator->stop(mine);
    world.advance(2s);
    world.tools.appendZoneText(records("Mine", "iPhone-2.local"));
    EXPECT_TRUE(world.until([&] { return std::ranges::count(hosts(), "iPhone.local") == 1; }));
}

TEST_F(AppCoordinatorDiscovery, a_phone_that_came_home_while_it_was_bridged_is_found_once_the_bridge_ends) {
    const fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iPhone", phone.port());
    bridgeAndDiscover(mine);
    world.advance(5s);
    world.tools.appendZoneText(records("Mine", "iPhone-2.local") + records("Theirs", "third.local"));
    ASSERT_TRUE(world.until([&] { return std::ranges::count(hosts(), "third.local") == 1; }));
    world.advance(5s);
    EXPECT_THAT(hosts(), Not(Contains("iPhone.local")));
    EXPECT_EQ(world.tools.zoneDumps().size(), 1U);

    coordinator->stop(mine);
    // Nothing is printed by the running tool, for nothing has changed.
    world.advance(5s);
    EXPECT_TRUE(world.until([&] { return std::ranges::count(hosts(), "iPhone.local") == 1; }));
    world.advance(5s);
    ASSERT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 1; }));
    EXPECT_EQ(world.tools.zoneDumps().size(), 2U);
}

TEST_F(AppCoordinatorDiscovery, the_own_record_that_is_seen_on_its_way_out_does_not_stand_in_for_the_phone) {
    const fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iPhone", phone.port());
    bridgeAndDiscover(mine);
    const std::string own = records("Mine", "iPhone.local");
    const std::string renamed = records("Theirs", "iPhone-2.local");
    world.tools.appendZoneText(own + renamed + records("Third", "third.local"));
    ASSERT_TRUE(world.until([&] { return std::ranges::count(hosts(), "third.local") == 1; }));

    world.advance(4s);
    coordinator->stop(mine);
    // A check comes, and then somebody looks anew, while the record is still shown to all who begin to look.
    world.advance(1s);
    coordinator->startDiscovery();
    world.tools.appendZoneText(records("Fourth", "fourth.local"));
    ASSERT_TRUE(world.until([&] { return std::ranges::count(hosts(), "fourth.local") == 1; }));
    EXPECT_THAT(hosts(), ElementsAre("fourth.local", "third.local"));

    world.tools.clearZoneText();
    world.tools.appendZoneText(renamed);
    world.advance(5s);
    ASSERT_TRUE(world.until([&] { return world.tools.zoneDumps().size() == 3; })) << "nobody looks again";
    ASSERT_TRUE(world.until([&] { return std::ranges::count(hosts(), "iPhone.local") == 1; }));
    EXPECT_EQ(coordinator->capturedServices().at(1).name, "Theirs");
}

TEST_F(AppCoordinatorDiscovery, says_within_5_seconds_that_no_phone_can_be_found_and_that_one_can_be_again) {
    make();
    const HostTools::Tool tool = world.host.tools.dnsSD;
    world.host.tools.dnsSD.executable = "/nowhere/dns-sd";
    EXPECT_FALSE(coordinator->discoveryFails());
    coordinator->startDiscovery();
    world.advance(4999ms);
    changes.clear();
    EXPECT_FALSE(coordinator->discoveryFails());
    world.advance(1ms);
    EXPECT_TRUE(coordinator->discoveryFails());
    EXPECT_EQ(changes[Published::capturedServices], 1);

    // The next launch is due after 1 + 2 + 4 seconds.
    world.host.tools.dnsSD = tool;
    world.advance(2s);
    ASSERT_TRUE(world.until([&] { return world.tools.runningZoneDumps() == 1; }));
    EXPECT_TRUE(coordinator->discoveryFails());
    world.advance(3s);
    EXPECT_FALSE(coordinator->discoveryFails());
    EXPECT_EQ(changes[Published::capturedServices], 2);
}

TEST_F(AppCoordinatorDiscovery, holds_at_most_ten_thousand_phones) {
    make();
    for (int i = 0; i < 10'001; ++i)
        coordinator->upsertCapturedService(service("phone-" + std::to_string(100'000 + i) + ".local"));
    EXPECT_THAT(coordinator->capturedServices(), SizeIs(10'000));
    CapturedBonjourService known = service("phone-100000.local");
    known.port = 7;
    coordinator->upsertCapturedService(known);
    EXPECT_EQ(coordinator->capturedServices().at(0).port, 7) << "one that is in the list is still kept true";
}

}  // namespace
}  // namespace quillbay
