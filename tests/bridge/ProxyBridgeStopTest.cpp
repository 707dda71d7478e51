#include <atomic>
#include <filesystem>

#include "bridge/BridgeFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

using ProxyBridgeStop = BridgeTest;

TEST_F(ProxyBridgeStop, says_nothing_when_nothing_runs) {
    makeBridge(profile(50000));
    bridge->stop();
    bridge->stop();
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(ProxyBridgeStop, during_the_presence_loop_leaves_the_later_result_without_effect) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connected"});
    makeBridge(profile(phone.port()));
    world.clock.onSleep([this](std::size_t nth) {
        if (nth == 2) world.mainQueue.post([this] { bridge->stop(); });
    });
    bridge->start(true);
    ASSERT_TRUE(untilQuiet());
    ASSERT_TRUE(untilState(ProxyBridgeState::Kind::idle));
    world.settle();
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
}

TEST_F(ProxyBridgeStop, before_the_background_work_has_begun_leaves_no_trace) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    bridge->stop();
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(bridge->relayCount(), 0U);
}

TEST_F(ProxyBridgeStop, during_the_probe_ends_it_at_once) {
    const fakes::FakePhone phone(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    const auto begun = std::chrono::steady_clock::now();
    bridge->stop();
    ASSERT_TRUE(untilQuiet());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1))
        << "a probe may wait for 3 seconds";
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ProxyBridgeStop, during_the_scan_ends_it_at_once) {
    const fakes::FakePhone silent(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(static_cast<std::uint16_t>(silent.port() - 1)));
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return silent.connections() == 1; }));
    const auto begun = std::chrono::steady_clock::now();
    bridge->stop();
    ASSERT_TRUE(untilQuiet());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(1500));
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_THAT(discovered, IsEmpty());
}

TEST_F(ProxyBridgeStop, after_the_work_but_before_its_last_step_drops_the_step) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilPosted());
    bridge->stop();
    world.settle();
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_EQ(bridge->relayCount(), 0U);
    EXPECT_THAT(world.tools.registrations(), IsEmpty());
}

TEST_F(ProxyBridgeStop, after_the_work_has_failed_but_before_that_is_told_drops_the_failure) {
    phoneIsAway();
    makeBridge(profile(50000));
    bridge->start(false);
    ASSERT_TRUE(untilPosted());
    bridge->stop();
    world.settle();
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ProxyBridgeStop, after_the_scan_but_before_its_last_step_drops_the_port_that_it_found) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    const auto stale = static_cast<std::uint16_t>(phone.port() - 1);
    phoneIsAway();
    makeBridge(profile(stale));
    bridge->start(true);
    ASSERT_TRUE(untilPosted());
    bridge->stop();
    world.settle();
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
    EXPECT_THAT(discovered, IsEmpty());
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(bridge->profile().remotePairingPort, stale);
}

TEST_F(ProxyBridgeStop, during_the_last_look_of_the_presence_loop_leaves_out_the_probe) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    bridge = ProxyBridge::make(
        world.host, profile(phone.port()), [this] { return world.address(); },
        [this](const std::string&, std::chrono::milliseconds, const StopToken& token) {
            world.mainQueue.post([this] { bridge->stop(); });
            token.sleepFor(std::chrono::seconds(20));
            return false;
        });
    bridge->onStateChanged = [this](const ProxyBridgeState& state) { states.push_back(state); };
    bridge->start(true);
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(phone.connections(), 0);
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(), ProxyBridgeState::idle()));
}

TEST_F(ProxyBridgeStop, of_a_failed_bridge_returns_to_idle_and_a_second_stop_says_nothing) {
    phoneIsAway();
    world.setAddress(std::nullopt);
    makeBridge(profile(50000));
    bridge->start(true);
    states.clear();
    bridge->stop();
    bridge->stop();
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::idle()));
}

TEST_F(ProxyBridgeStop, of_an_active_bridge_closes_ports_registration_and_log_follower) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    DeviceProfile wanted = profile(phone.port());
    wanted.tunnelPortRangeStart = 40000;
    wanted.tunnelPortRangeEnd = 40010;
    makeBridge(wanted);
    const auto comeAndGo = [&] {
        bridge->start(true);
        ASSERT_TRUE(untilActive());
        ASSERT_TRUE(world.until(
            [&] { return world.tools.runningRegistrations() == 1 && world.tools.logIsFollowed(); }));
        bridge->stop();
    };
    // The first time opens what stays for good: the loops' own descriptors.
    comeAndGo();
    ASSERT_TRUE(world.until([&] { return !world.tools.logIsFollowed(); }));
    world.network.drain();
    const std::size_t before = openDescriptors();
    comeAndGo();
    EXPECT_EQ(bridge->state(), ProxyBridgeState::idle());
    EXPECT_EQ(bridge->coveredPorts().count(), 0U);
    EXPECT_EQ(world.tools.runningRegistrations(), 0) << "stop waits for the registration to end";
    EXPECT_TRUE(world.until([&] { return !world.tools.logIsFollowed(); }));
    world.network.drain();
    EXPECT_NO_THROW(listenTCP(world.macIP, 40005));
    EXPECT_NO_THROW(bindUDP(world.macIP, 40005));
    // The phone keeps one more connection, that of the second probe.
    EXPECT_TRUE(world.until([&] { return openDescriptors() <= before + 1; }))
        << openDescriptors() << " vs " << before;
}

TEST_F(ProxyBridgeStop, and_start_again_on_the_same_ports_works_every_time) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    DeviceProfile wanted = profile(phone.port());
    wanted.tunnelPortRangeStart = 40000;
    wanted.tunnelPortRangeEnd = 40020;
    makeBridge(wanted);
    for (int round = 0; round < 5; ++round) {
        log.clear();
        bridge->start(false);
        ASSERT_TRUE(untilActive()) << bridge->state().message;
        world.network.drain();
        world.settle();
        EXPECT_EQ(log.size(), 1U) << "a port of the round before is still taken: " << log.back();
    }
    EXPECT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
}

TEST_F(ProxyBridgeStop, a_start_that_is_started_over_reaches_active_once) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connected", "connected", "unavailable"});
    makeBridge(profile(phone.port()));
    world.clock.onSleep([this](std::size_t nth) {
        if (nth == 1) world.mainQueue.post([this] { bridge->start(true); });
    });
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(std::count(states.begin(), states.end(), ProxyBridgeState::active()), 1);
    EXPECT_EQ(states.back(), ProxyBridgeState::active());
}

TEST_F(ProxyBridgeStop, a_dropped_bridge_ends_everything_and_reports_nothing_more) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    states.clear();
    bridge.reset();
    EXPECT_EQ(world.tools.runningRegistrations(), 0);
    world.network.drain();
    EXPECT_NO_THROW(listenTCP(world.macIP, phone.port()));
    world.settle();
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(ProxyBridgeStop, a_bridge_dropped_while_it_starts_ends_its_work_at_once) {
    const fakes::FakePhone phone(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    states.clear();
    bridge.reset();
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(ProxyBridgeStop, a_second_scan_of_the_user_cuts_the_first_one_short) {
    makeBridge(profile(50000));
    std::vector<int> completed;
    std::atomic<int> probed = 0;
    bridge->discoverDevicePort([&](const RemotePairingScanReport&) { completed.push_back(1); },
                               [&](std::uint16_t) { ++probed; });
    ASSERT_TRUE(world.until([&] { return probed > 0; }));
    bridge->discoverDevicePort([&](const RemotePairingScanReport&) { completed.push_back(2); });
    ASSERT_TRUE(world.until([&] { return completed.size() == 2; }));
    EXPECT_LT(probed, 16384) << "the first scan went through the whole range";
    EXPECT_THAT(states, IsEmpty());
}

}  // namespace
}  // namespace quillbay
