// Long, but one thing: every operation of the coordinator with its lines and statuses in order, on one
// fixture.

#include "core/AppCoordinator.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "core/ReachableProfile.h"
#include "core/Version.h"
#include "fakes/FakePhone.h"
#include "fakes/TestHost.h"

namespace quillbay {
namespace {

using fakes::FakePhone;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* stillNear =
    "The device is still on this Mac's local network. Move it to a different Wi‑Fi before bridging. Cellular "
    "won't "
    "work.";

/// A coordinator on a scripted host. Every status change and every log line is recorded in the order of its
/// happening; log lines stand there without their timestamps.
class AppCoordinatorTest : public ::testing::Test {
 protected:
    DeviceProfile profile(const std::string& name, std::uint16_t port) const {
        return reachableProfile(name, world.phoneIP, port);
    }

    DeviceProfileStore store() { return DeviceProfileStore(world.host.files, "Quillbay"); }

    void make() {
        coordinator = AppCoordinator::make(
            world.host, {.presenceCheck = [this](const std::string&, std::chrono::milliseconds,
                                                 const StopToken&) { return near; },
                         .serviceQuestion = {}});
        subscriptions.push_back(coordinator->logs().diagnosticLineAdded.add(
            [this](const std::string& line) { events.push_back(line.substr(25)); }));
        subscriptions.push_back(
            coordinator->statusChanged.add([this](const std::string& id, const BridgeStatus& status) {
                const char* names[] = {"error", "off", "pairing", "on"};
                events.push_back("[" + id + " " + names[static_cast<int>(status.kind)] + "]");
            }));
        // The report of the first address comes before anything that a program does next.
        world.settle();
    }

    bool untilStatus(const DeviceProfile& profile, BridgeStatus::Kind kind) {
        return world.until([&] { return coordinator->status(profile.id()).kind == kind; });
    }

    /// What has been logged since the coordinator's construction began.
    [[nodiscard]] std::vector<std::string> diagnostics() const {
        std::vector<std::string> lines;
        for (const std::string& line : coordinator->logs().diagnosticLines())
            lines.push_back(line.substr(25));
        return lines;
    }

    fakes::TestHost world;
    bool near = false;
    std::vector<std::string> events;
    std::shared_ptr<AppCoordinator> coordinator;
    std::vector<Subscription> subscriptions;
};

TEST_F(AppCoordinatorTest, starts_up_with_the_version_line_and_the_first_address) {
    make();
    world.settle();
    EXPECT_THAT(diagnostics(), ElementsAre(std::string("Quillbay started — version ") + applicationVersion(),
                                           "en0 IP changed: " + world.macIP + " — restarting bridges"));
    EXPECT_THAT(coordinator->logs().userLines(), IsEmpty());
    EXPECT_EQ(coordinator->overallStatus(), BridgeStatus::off());
}

TEST_F(AppCoordinatorTest, clears_leftover_registrations_at_start_and_says_so) {
    // Process ids that cannot exist: above the largest that the kernel gives.
    world.tools.setProcessList(
        "  4194305 /usr/bin/dns-sd -i en0 -P Name _t._tcp local 1 h 1.2.3.4\n"
        "4194306 dns-sd -P Other\n4194307 /usr/bin/dns-sd -Z _t._tcp local\n");
    make();
    EXPECT_THAT(diagnostics(),
                ElementsAre(std::string("Quillbay started — version ") + applicationVersion(),
                            "Cleared 2 leftover Bonjour proxy registration(s) from a previous launch (pid "
                            "4194305, 4194306).",
                            "en0 IP changed: " + world.macIP + " — restarting bridges"));
}

TEST_F(AppCoordinatorTest, logs_and_publishes_a_start_in_order) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    world.settle();
    events.clear();
    coordinator->start(coordinator->profiles().at(0));
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    world.settle();
    const std::string port = std::to_string(phone.port());
    EXPECT_THAT(
        events,
        ElementsAre("[iphone.local#tailscale off]",
                    "Bridge torn down for \"iphone\" (announceClose=false, wasRunning=false)",
                    "Profile persisted: \"iphone\" id=iphone.local#tailscale host=iphone.local "
                    "provider=Tailscale ip=" +
                        world.phoneIP + " port=" + port + " range=40001-40002 bridgeEnabled=true",
                    "USER  Bridging to \"iphone\"",
                    "Starting bridge for \"iphone\": provider=Tailscale ip=" + world.phoneIP +
                        " port=" + port + " scanIfPortStale=true localIP=" + world.macIP,
                    "[iphone.local#tailscale pairing]",
                    "iphone: port " + port + " verified, 3 TCP + 3 UDP relay open",
                    "[iphone.local#tailscale on]", "iphone: bridge active", "USER  Bridge is successful."));
    EXPECT_EQ(store().load().at(0).bridgeEnabled, true);
    EXPECT_EQ(coordinator->overallStatus(), BridgeStatus::on());
}

TEST_F(AppCoordinatorTest, turns_a_failure_into_a_sentence_and_keeps_the_technical_text_in_the_log) {
    near = true;
    const DeviceProfile mine = profile("iphone", 50000);
    store().save({mine});
    make();
    world.settle();
    events.clear();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::error));
    EXPECT_EQ(coordinator->status(mine.id()), BridgeStatus::error(stillNear));
    EXPECT_EQ(coordinator->overallStatus(), BridgeStatus::error(stillNear));
    const std::vector<std::string> last(events.end() - 3, events.end());
    EXPECT_THAT(
        last,
        ElementsAre("iphone: error — 'iphone.local' is still live on the local network [devicectl "
                    "doesn't know this host, link probe=true] — bridge not started before the device is "
                    "actually remote (risk of conflict).",
                    "[iphone.local#tailscale error]", std::string("USER  Connection error: ") + stillNear));
}

TEST_F(AppCoordinatorTest, stops_with_an_announcement_and_remembers_it) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    world.settle();
    events.clear();
    coordinator->stop(mine);
    world.settle();
    EXPECT_THAT(events,
                ElementsAre("[iphone.local#tailscale off]",
                            "Bridge torn down for \"iphone\" (announceClose=true, wasRunning=true)",
                            "USER  Bridge is closed \"iphone\"",
                            "Profile persisted: \"iphone\" id=iphone.local#tailscale host=iphone.local "
                            "provider=Tailscale ip=" +
                                world.phoneIP + " port=" + std::to_string(phone.port()) +
                                " range=40001-40002 bridgeEnabled=false"));
    EXPECT_EQ(store().load().at(0).bridgeEnabled, false);
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
}

TEST_F(AppCoordinatorTest, stopping_what_does_not_run_announces_nothing) {
    const DeviceProfile mine = profile("iphone", 50000);
    store().save({mine});
    make();
    world.settle();
    events.clear();
    coordinator->teardownBridge(mine.id(), AppCoordinator::CloseAnnouncement::announced, std::nullopt);
    EXPECT_THAT(events,
                ElementsAre("[iphone.local#tailscale off]",
                            "Bridge torn down for \"iphone\" (announceClose=true, wasRunning=false)"));
    events.clear();
    coordinator->teardownBridge("nobody#", AppCoordinator::CloseAnnouncement::announced, std::nullopt);
    EXPECT_THAT(events, ElementsAre("[nobody# off]"));
}

TEST_F(AppCoordinatorTest, starting_a_running_profile_stops_the_old_bridge_first_and_announces_no_close) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    events.clear();
    coordinator->start(mine);
    EXPECT_EQ(coordinator->status(mine.id()), BridgeStatus::off());
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    EXPECT_THAT(events, Contains("Bridge torn down for \"iphone\" (announceClose=false, wasRunning=true)"));
    EXPECT_THAT(events, Not(Contains("USER  Bridge is closed \"iphone\"")));
}

TEST_F(AppCoordinatorTest, drops_what_a_bridge_said_before_it_was_torn_down) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    world.settle();
    coordinator->start(mine);
    // The bridge's "pairing" waits in the main queue; the stop comes first.
    coordinator->stop(mine);
    events.clear();
    ASSERT_TRUE(world.until([&] { return world.background.pending() == 0; }));
    world.settle();
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(coordinator->status(mine.id()), BridgeStatus::off());
}

TEST_F(AppCoordinatorTest, stores_the_port_that_a_scan_finds_and_tells_the_user) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const auto stale = static_cast<std::uint16_t>(phone.port() - 1);
    const DeviceProfile mine = profile("iphone", stale);
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    world.settle();
    const std::string found = std::to_string(phone.port());
    const auto first = std::find_if(events.begin(), events.end(), [](const std::string& line) {
        return line.starts_with("iphone: new port found");
    });
    EXPECT_THAT(
        std::vector<std::string>(first, events.end()),
        ElementsAre("iphone: new port found → " + found + " (profile updated)",
                    fmt::format("iphone: RemotePairing port updated {} → {}", stale, found),
                    "Profile updated: \"iphone\" id=iphone.local#tailscale host=iphone.local "
                    "provider=Tailscale ip=" +
                        world.phoneIP + " port=" + found + " range=40001-40002 bridgeEnabled=true",
                    "USER  Device \"iphone\" updated.",
                    "iphone: port " + found + " verified, 3 TCP + 3 UDP relay open",
                    "[iphone.local#tailscale on]", "iphone: bridge active", "USER  Bridge is successful."));
    EXPECT_EQ(store().load().at(0).remotePairingPort, phone.port());
    EXPECT_EQ(store().load().at(0).bridgeEnabled, true);
}

TEST_F(AppCoordinatorTest, an_equal_port_writes_nothing_and_logs_nothing) {
    const DeviceProfile mine = profile("iphone", 50000);
    store().save({mine});
    make();
    world.settle();
    events.clear();
    const auto file = world.host.files.applicationSupport / "Quillbay" / "devices.json";
    const auto written = std::filesystem::last_write_time(file);
    coordinator->updateRemotePairingPort(50000, mine.id());
    coordinator->updateRemotePairingPort(50001, "stranger.local#tailscale");
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(std::filesystem::last_write_time(file), written);
}

TEST_F(AppCoordinatorTest, saves_new_and_known_profiles_with_their_own_lines) {
    make();
    world.settle();
    events.clear();
    DeviceProfile mine = profile("iphone", 50000);
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::announced);
    mine.displayName = "Mirel's iPhone";
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::announced);
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
    const std::string rest =
        "\" id=iphone.local#tailscale host=iphone.local provider=Tailscale ip=" + world.phoneIP +
        " port=50000 range=40001-40002 bridgeEnabled=false";
    EXPECT_THAT(events, ElementsAre("Profile added: \"iphone" + rest, "USER  Device \"iphone\" added.",
                                    "Profile updated: \"Mirel's iPhone" + rest,
                                    "USER  Device \"Mirel's iPhone\" updated.",
                                    "Profile persisted: \"Mirel's iPhone" + rest));
    EXPECT_EQ(coordinator->profiles().size(), 1U);
}

TEST_F(AppCoordinatorTest, deletes_a_profile_with_its_bridge) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    const DeviceProfile other = profile("other", 50000);
    store().save({mine, other});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    world.settle();
    events.clear();
    coordinator->deleteProfile(mine);
    EXPECT_THAT(events,
                ElementsAre("[iphone.local#tailscale off]",
                            "Bridge torn down for \"iphone\" (announceClose=true, wasRunning=true)",
                            "USER  Bridge is closed \"iphone\"",
                            "Profile persisted: \"iphone\" id=iphone.local#tailscale host=iphone.local "
                            "provider=Tailscale ip=" +
                                world.phoneIP + " port=" + std::to_string(phone.port()) +
                                " range=40001-40002 bridgeEnabled=false",
                            "Profile removed: \"iphone\" id=iphone.local#tailscale"));
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
    ASSERT_EQ(coordinator->profiles().size(), 1U);
    EXPECT_EQ(coordinator->profiles()[0].displayName, "other");
    EXPECT_TRUE(coordinator->statusByProfileID().contains(mine.id())) << "the entry stays, as off";
    EXPECT_EQ(coordinator->status(mine.id()), BridgeStatus::off());
}

TEST_F(AppCoordinatorTest, restores_only_the_profiles_that_were_left_on) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    DeviceProfile on = profile("on", phone.port());
    on.bridgeEnabled = true;
    DeviceProfile off = profile("off", phone.port());
    off.bridgeEnabled = false;
    DeviceProfile absent = profile("absent", phone.port());
    absent.bridgeEnabled.reset();
    store().save({absent, off, on});
    make();
    world.settle();
    events.clear();
    coordinator->restorePersistedBridges();
    EXPECT_EQ(events.at(0), "on: restoring bridge from previous session");
    ASSERT_TRUE(untilStatus(on, BridgeStatus::Kind::on));
    EXPECT_EQ(coordinator->statusByProfileID().size(), 1U);
    EXPECT_EQ(store().load().at(0).bridgeEnabled, std::nullopt);
}

TEST_F(AppCoordinatorTest, restores_in_the_order_of_the_list) {
    near = true;
    DeviceProfile first = profile("zebra", 50000);
    first.bridgeEnabled = true;
    DeviceProfile second = profile("ant", 50000);
    second.bridgeEnabled = true;
    store().save({first, second});
    make();
    events.clear();
    coordinator->restorePersistedBridges();
    std::vector<std::string> restored;
    for (const std::string& event : events)
        if (event.ends_with(": restoring bridge from previous session")) restored.push_back(event);
    EXPECT_THAT(restored, ElementsAre("zebra: restoring bridge from previous session",
                                      "ant: restoring bridge from previous session"));
}

TEST_F(AppCoordinatorTest, a_start_without_an_address_says_none_and_fails) {
    const DeviceProfile mine = profile("iphone", 50000);
    store().save({mine});
    world.setAddress(std::nullopt);
    make();
    EXPECT_THAT(diagnostics(), ElementsAre(std::string("Quillbay started — version ") + applicationVersion()))
        << "no address is what there was before, and no change";
    events.clear();
    coordinator->startBridge(mine, false);
    world.settle();
    EXPECT_THAT(events, Contains("Starting bridge for \"iphone\": provider=Tailscale ip=" + world.phoneIP +
                                 " port=50000 scanIfPortStale=false localIP=none"));
    EXPECT_EQ(coordinator->status(mine.id()),
              BridgeStatus::error("Couldn't determine this Mac's network address."));
    EXPECT_EQ(events.back(), "USER  Connection error: Couldn't determine this Mac's network address.");
}

TEST_F(AppCoordinatorTest, stopping_a_profile_whose_wish_is_absent_leaves_it_absent) {
    DeviceProfile mine = profile("iphone", 50000);
    mine.bridgeEnabled.reset();
    store().save({mine});
    make();
    coordinator->stop(mine);
    EXPECT_EQ(store().load().at(0).bridgeEnabled, std::nullopt);
    EXPECT_THAT(events, Not(Contains(::testing::HasSubstr("Profile persisted"))));
}

TEST_F(AppCoordinatorTest, one_bridge_that_is_on_outweighs_one_that_failed) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile good = profile("good", phone.port());
    DeviceProfile bad = profile("bad", 50000);
    bad.providerIP = "not a host";
    store().save({bad, good});
    make();
    coordinator->startBridge(bad, false);
    ASSERT_TRUE(untilStatus(bad, BridgeStatus::Kind::error));
    EXPECT_EQ(
        coordinator->overallStatus(),
        BridgeStatus::error("The device isn't responding. Confirm Tailscale is connected on the iPhone."));
    coordinator->startBridge(good, false);
    world.settle();
    EXPECT_EQ(coordinator->overallStatus().kind, BridgeStatus::Kind::pairing);
    ASSERT_TRUE(untilStatus(good, BridgeStatus::Kind::on));
    EXPECT_EQ(coordinator->overallStatus(), BridgeStatus::on());
}

TEST_F(AppCoordinatorTest, a_change_of_the_address_restarts_the_bridges_in_place) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    ASSERT_TRUE(world.until([&] { return world.tools.registrations().size() == 1; }));
    world.settle();
    events.clear();
    const std::string newIP = fakes::TestHost::randomLoopback();
    world.setAddress(newIP);
    coordinator->handleAddressChange(newIP);
    world.settle();
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    world.settle();
    ASSERT_TRUE(world.until([&] { return world.tools.registrations().size() == 2; }));
    EXPECT_EQ(events.at(0), "en0 IP changed: " + newIP + " — restarting bridges");
    EXPECT_THAT(events, Contains("[iphone.local#tailscale pairing]"));
    EXPECT_EQ(world.tools.registrations().back().at(8), newIP);
    EXPECT_EQ(events.back(), "USER  Bridge is successful.");
}

TEST_F(AppCoordinatorTest, losing_the_address_leaves_the_bridges_in_an_error_that_says_so) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    events.clear();
    world.setAddress(std::nullopt);
    coordinator->handleAddressChange(std::nullopt);
    EXPECT_EQ(events.at(0), "en0 IP changed: none — restarting bridges");
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::error));
    EXPECT_EQ(coordinator->status(mine.id()).message, "Couldn't determine this Mac's network address.");
}

TEST_F(AppCoordinatorTest, dropping_it_ends_the_bridges_and_leaves_the_wish_as_it_is) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    const DeviceProfile mine = profile("iphone", phone.port());
    store().save({mine});
    make();
    coordinator->start(mine);
    ASSERT_TRUE(untilStatus(mine, BridgeStatus::Kind::on));
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    coordinator.reset();
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
    world.settle();
    EXPECT_EQ(store().load().at(0).bridgeEnabled, true);
}

}  // namespace
}  // namespace quillbay
