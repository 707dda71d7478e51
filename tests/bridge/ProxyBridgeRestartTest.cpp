#include <future>

#include "bridge/BridgeFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A bridge that is started again, or whose owner steps in from a callback, at each point of a start.
class ProxyBridgeRestart : public BridgeTest {
 protected:
    /// A start that is made from now on ends with `stillLive`, soon.
    void phoneIsBack() { world.tools.setTunnelStates("iphone.coredevice.local", {"connected"}); }

    const ProxyBridgeState pairing = ProxyBridgeState::pairing();
    const ProxyBridgeState idle = ProxyBridgeState::idle();
    const ProxyBridgeState active = ProxyBridgeState::active();
    const ProxyBridgeState stillLive = ProxyBridgeState::error(
        "'iphone.local' is still live on the local network [devicectl tunnelState=connected] — bridge not "
        "started "
        "before the device is actually remote (risk of conflict).");
};

TEST_F(ProxyBridgeRestart, before_the_background_work_has_begun_reaches_active_once) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, active));
}

TEST_F(ProxyBridgeRestart, during_the_probe_drops_its_verdict) {
    const fakes::FakePhone phone(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(false);
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    phoneIsBack();
    bridge->start(false);
    ASSERT_TRUE(untilError());
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, stillLive));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ProxyBridgeRestart, during_the_scan_drops_its_report) {
    const fakes::FakePhone silent(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(static_cast<std::uint16_t>(silent.port() - 1)));
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return silent.connections() == 1; }));
    phoneIsBack();
    bridge->start(true);
    ASSERT_TRUE(untilError());
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, stillLive));
    EXPECT_THAT(discovered, IsEmpty());
}

TEST_F(ProxyBridgeRestart, after_the_probe_drops_the_verified_port) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilPosted());
    phoneIsBack();
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, stillLive));
    EXPECT_THAT(world.tools.registrations(), IsEmpty());
}

TEST_F(ProxyBridgeRestart, after_the_probe_drops_the_late_failure) {
    phoneIsAway();
    makeBridge(profile(50000));
    bridge->start(false);
    ASSERT_TRUE(untilPosted());
    phoneIsBack();
    bridge->start(false);
    ASSERT_TRUE(untilError());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, stillLive));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ProxyBridgeRestart, after_a_failure_passes_through_idle) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsBack();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    phoneIsAway();
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_THAT(states, ElementsAre(pairing, stillLive, idle, pairing, active));
}

TEST_F(ProxyBridgeRestart, during_the_relay_set_up_leaves_nothing_of_the_first_start) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    const UniqueDescriptor taken = listenTCP(world.macIP, phone.port());
    phoneIsAway();
    makeBridge(profile(phone.port()));
    int restarts = 0;
    bridge->onLog = [&](const std::string& line) {
        log.push_back(line);
        if (line.find("was unavailable on this Mac") != std::string::npos && restarts++ == 0)
            bridge->start(true);
    };
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle, pairing, active));
    EXPECT_EQ(bridge->relayCount(), 1U);
    EXPECT_EQ(bridge->udpRelayCount(), 1U);
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    EXPECT_EQ(world.tools.registrations().size(), 1U);
}

TEST_F(ProxyBridgeRestart, a_stop_during_the_relay_set_up_leaves_nothing_open) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    const auto next = static_cast<std::uint16_t>(phone.port() + 1);
    const UniqueDescriptor taken = listenTCP(world.macIP, phone.port());
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->onLog = [&](const std::string& line) {
        log.push_back(line);
        bridge->stop();
    };
    bridge->start(true);
    ASSERT_TRUE(untilState(ProxyBridgeState::Kind::idle));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle));
    EXPECT_THAT(log, ElementsAre(HasSubstr("was unavailable on this Mac")));
    EXPECT_EQ(bridge->relayCount(), 0U);
    EXPECT_THAT(world.tools.registrations(), IsEmpty());
    world.network.drain();
    EXPECT_NO_THROW(listenTCP(world.macIP, next));
    EXPECT_NO_THROW(bindUDP(world.macIP, next));
}

TEST_F(ProxyBridgeRestart, a_stop_at_the_last_attempt_to_bind_is_no_failure) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    std::vector<UniqueDescriptor> taken;
    for (unsigned i = 0; i < 32 && phone.port() + i <= 65535; ++i)
        taken.push_back(listenTCP(world.macIP, static_cast<std::uint16_t>(phone.port() + i)));
    bridge->onLog = [&](const std::string&) { bridge->stop(); };
    bridge->start(true);
    ASSERT_TRUE(untilState(ProxyBridgeState::Kind::idle));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle));
}

TEST_F(ProxyBridgeRestart, a_stop_when_told_of_the_relays_does_not_become_active) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->onLog = [&](const std::string&) { bridge->stop(); };
    bridge->start(true);
    ASSERT_TRUE(untilState(ProxyBridgeState::Kind::idle));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle));
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
}

TEST_F(ProxyBridgeRestart, a_stop_when_told_of_active_does_not_follow_the_log) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    world.tools.removeLogFollower();  // so that an attempt to follow it is told
    makeBridge(profile(phone.port()));
    bridge->onStateChanged = [&](const ProxyBridgeState& state) {
        states.push_back(state);
        if (state == active) bridge->stop();
    };
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return states.size() == 3; }));
    world.settle();
    EXPECT_THAT(states, ElementsAre(pairing, active, idle));
    EXPECT_THAT(log, Not(::testing::Contains(HasSubstr("cannot be followed"))));
}

TEST_F(ProxyBridgeRestart, a_stop_when_told_of_pairing_starts_nothing) {
    phoneIsAway();
    makeBridge(profile(50000));
    bridge->onStateChanged = [&](const ProxyBridgeState& state) {
        states.push_back(state);
        if (state == pairing) bridge->stop();
    };
    bridge->start(true);
    EXPECT_EQ(world.background.pending(), 0U);
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(pairing, idle));
    EXPECT_EQ(world.tools.deviceCtlRuns(), 0);
}

TEST_F(ProxyBridgeRestart, a_scan_of_the_user_in_the_presence_loop_leaves_the_later_scan_of_the_start_alone) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connected", "unavailable"});
    makeBridge(profile(static_cast<std::uint16_t>(phone.port() - 1)));
    bool reported = false;
    world.clock.onSleep([&](std::size_t) {
        std::promise<void> asked;
        world.mainQueue.post([&] {
            bridge->discoverDevicePort([&](const RemotePairingScanReport&) { reported = true; });
            asked.set_value();
        });
        asked.get_future().wait();
    });
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return bridge->state() != pairing; }));
    EXPECT_EQ(bridge->state(), active) << bridge->state().message;
    EXPECT_TRUE(world.until([&] { return reported; }));
}

TEST_F(ProxyBridgeRestart, a_start_that_fails_lets_a_scan_of_the_user_go_on) {
    auto phone = std::make_unique<fakes::FakePhone>(world.phoneIP, Manner::answers);
    phoneIsAway();
    world.tools.removeDNSSD();
    makeBridge(profile(phone->port()));
    bridge->start(true);
    ASSERT_TRUE(untilPosted());
    phone.reset();
    const fakes::FakePhone silent(world.phoneIP, Manner::silent);
    std::optional<RemotePairingScanReport> report;
    bridge->discoverDevicePort([&](const RemotePairingScanReport& given) { report = given; });
    ASSERT_TRUE(untilError());
    ASSERT_TRUE(world.until([&] { return report.has_value(); }));
    EXPECT_THAT(report->openButSilent, ElementsAre(silent.port()));
}

}  // namespace
}  // namespace quillbay
