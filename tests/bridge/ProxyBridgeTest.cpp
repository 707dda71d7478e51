#include "bridge/ProxyBridge.h"

#include <fmt/format.h>

#include "bridge/BridgeFixture.h"
#include "bridge/BridgeTexts.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

using ProxyBridgeStart = BridgeTest;

TEST_F(ProxyBridgeStart, fails_without_a_local_address_and_opens_nothing) {
    phoneIsAway();
    world.setAddress(std::nullopt);
    makeBridge(profile(50000));
    bridge->start(true);
    EXPECT_THAT(states, ElementsAre(ProxyBridgeState::pairing(),
                                    ProxyBridgeState::error("Could not read local IP (en0)")));
    EXPECT_EQ(world.background.pending(), 0U);
    EXPECT_EQ(world.tools.deviceCtlRuns(), 0);
    EXPECT_THAT(world.tools.registrations(), IsEmpty());
    EXPECT_EQ(bridge->relayCount(), 0U);
}

TEST_F(ProxyBridgeStart, goes_on_to_the_probe_after_connecting_ten_times) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connecting"});
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_EQ(world.tools.deviceCtlRuns(), 10);
    EXPECT_THAT(world.clock.sleeps(),
                ElementsAre(1500ms, 1500ms, 1500ms, 1500ms, 1500ms, 1500ms, 1500ms, 1500ms, 1500ms));
    EXPECT_EQ(phone.connections(), 1);
}

TEST_F(ProxyBridgeStart, gives_up_after_connected_four_times) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connected"});
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_THAT(
        states,
        ElementsAre(
            ProxyBridgeState::pairing(),
            ProxyBridgeState::error(
                "'iphone.local' is still live on the local network [devicectl tunnelState=connected] — "
                "bridge not started before the device is actually remote (risk of conflict).")));
    EXPECT_EQ(world.tools.deviceCtlRuns(), 4);
    EXPECT_THAT(world.clock.sleeps(), ElementsAre(1500ms, 1500ms, 1500ms));
    EXPECT_EQ(phone.connections(), 0);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ProxyBridgeStart, counts_all_looks_together_when_the_answers_differ) {
    world.tools.setTunnelStates("iphone.coredevice.local",
                                {"connecting", "connecting", "connecting", "connecting", "connected"});
    makeBridge(profile(50000));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              "'iphone.local' is still live on the local network [devicectl tunnelState=connected] — bridge "
              "not started "
              "before the device is actually remote (risk of conflict).");
    EXPECT_EQ(world.tools.deviceCtlRuns(), 5);
    EXPECT_THAT(world.clock.sleeps(), ElementsAre(1500ms, 1500ms, 1500ms, 1500ms));
}

TEST_F(ProxyBridgeStart, goes_on_as_soon_as_the_tunnel_becomes_unavailable) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"connected", "connecting", "unavailable"});
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_EQ(world.tools.deviceCtlRuns(), 3);
    EXPECT_THAT(presenceQuestions, IsEmpty());
}

TEST_F(ProxyBridgeStart, asks_the_network_when_devicectl_does_not_know_the_host) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_THAT(presenceQuestions, ElementsAre("iphone.local 1500"));
    EXPECT_THAT(world.clock.sleeps(), IsEmpty());
}

TEST_F(ProxyBridgeStart, gives_up_when_the_host_answers_on_the_network_four_times) {
    answersLocally = true;
    makeBridge(profile(50000));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              "'iphone.local' is still live on the local network [devicectl doesn't know this host, link "
              "probe=true] "
              "— bridge not started before the device is actually remote (risk of conflict).");
    EXPECT_EQ(presenceQuestions.size(), 4U);
    EXPECT_THAT(world.clock.sleeps(), ElementsAre(1500ms, 1500ms, 1500ms));
}

TEST_F(ProxyBridgeStart, says_that_the_port_may_have_changed_when_it_refuses) {
    phoneIsAway();
    makeBridge(profile(50000));
    bridge->start(false);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              world.phoneIP +
                  ":50000 refused the connection — the device's RemotePairing port may have "
                  "changed. Use 'Scan port' to find the current port.");
    EXPECT_THAT(log,
                ElementsAre("Phone: " + world.phoneIP +
                            ":50000 did not respond to RemotePairing (connection refused, port closed)."));
}

TEST_F(ProxyBridgeStart, says_that_the_phone_does_not_respond_when_its_address_cannot_be_reached) {
    phoneIsAway();
    DeviceProfile unreachable = profile(50000);
    unreachable.providerIP = "not a host";
    makeBridge(unreachable);
    bridge->start(false);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              "not a host:50000 is not responding — confirm Tailscale is connected on the iPhone.");
    EXPECT_THAT(log, ElementsAre("Phone: not a host:50000 did not respond to RemotePairing (no response)."));
}

TEST_F(ProxyBridgeStart, says_that_the_port_does_not_speak_the_protocol_when_it_stays_silent) {
    const fakes::FakePhone phone(world.phoneIP, Manner::silent);
    phoneIsAway();
    makeBridge(profile(phone.port()));
    bridge->start(false);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(
        bridge->state().message,
        fmt::format(
            "{}:{} is open but not speaking the RemotePairing protocol (this port is likely Tailscale's "
            "own service). Use 'Scan port' to find the correct port.",
            world.phoneIP, phone.port()));
    EXPECT_THAT(log,
                ElementsAre(fmt::format("Phone: {}:{} did not respond to RemotePairing (port open but not "
                                        "speaking RemotePairing protocol).",
                                        world.phoneIP, phone.port())));
}

TEST_F(ProxyBridgeStart, scans_for_the_port_that_answers_and_reports_it) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    const auto stale = static_cast<std::uint16_t>(phone.port() - 1);
    phoneIsAway();
    makeBridge(profile(stale));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_THAT(discovered, ElementsAre(phone.port()));
    EXPECT_EQ(bridge->profile().remotePairingPort, phone.port());
    EXPECT_THAT(
        log,
        ElementsAre(fmt::format("Phone: {}:{} did not respond to RemotePairing (connection refused, port "
                                "closed).",
                                world.phoneIP, stale),
                    "Phone: scanning device's current RemotePairing port (49152-65535)…",
                    fmt::format("Phone: new port found → {} (profile updated)", phone.port()),
                    fmt::format("Phone: port {} verified, 1 TCP + 1 UDP relay open", phone.port())));
}

TEST_F(ProxyBridgeStart, keeps_the_found_port_for_a_restart_in_place) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(static_cast<std::uint16_t>(phone.port() - 1)));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    bridge->start(false);
    ASSERT_TRUE(world.until([&] { return bridge->state().kind != ProxyBridgeState::Kind::pairing; }));
    EXPECT_EQ(bridge->state(), ProxyBridgeState::active());
}

TEST_F(ProxyBridgeStart, says_that_nothing_responded_when_a_scan_finds_no_open_port) {
    phoneIsAway();
    makeBridge(profile(50000));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              "No RemotePairing service found on " + world.phoneIP +
                  " (scanned 49152-65535). None of the device's ports responded — confirm "
                  "Tailscale is connected on the iPhone.");
    EXPECT_THAT(discovered, IsEmpty());
}

TEST_F(ProxyBridgeStart, lists_the_open_ports_when_a_scan_finds_only_silent_ones) {
    const fakes::FakePhone first(world.phoneIP, Manner::silent);
    phoneIsAway();
    DeviceProfile wanted = profile(50000);
    wanted.providerID = "manual";
    makeBridge(wanted);
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(
        bridge->state().message,
        fmt::format(
            "No RemotePairing service found on {} (scanned 49152-65535). The Manual IP connection is "
            "healthy (open ports that don't speak the protocol: {}) — so the problem isn't the network, "
            "the iPhone isn't exposing remotepairingd on the Manual IP interface. On the iPhone, check "
            "Settings > Developer > Wireless Debugging and confirm Manual IP allows incoming "
            "connections.",
            world.phoneIP, first.port()));
}

TEST(BridgeTexts, separate_several_open_ports_by_a_comma_and_a_blank) {
    DeviceProfile profile = DeviceProfile::draft("Phone");
    profile.providerIP = "100.64.0.9";
    EXPECT_THAT(noServiceMessage(profile, {50001, 50003}),
                ::testing::HasSubstr("(open ports that don't speak the protocol: 50001, 50003)"));
}

TEST(BridgeTexts, name_transport_port_and_error_of_a_control_channel_that_failed) {
    EXPECT_EQ(
        criticalRelayFailureMessage("UDP", 49152, "POSIXErrorCode(rawValue: 50): Network is down"),
        "UDP relay for the RemotePairing control channel (local port 49152) failed after it was already up: "
        "POSIXErrorCode(rawValue: 50): Network is down.");
}

TEST_F(ProxyBridgeStart, registers_the_proxy_with_the_profile_and_the_local_address) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    DeviceProfile wanted = profile(phone.port());
    wanted.txtRecord = {{"identifier", "A B=C"}, {"ver", "24"}};
    makeBridge(wanted);
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    EXPECT_THAT(world.tools.registrations(),
                ElementsAre(ElementsAre("-i", "en0", "-P", "Instance", "_remotepairing._tcp", "local",
                                        std::to_string(phone.port()), "iphone.local", world.macIP,
                                        "identifier=A B=C", "ver=24")));
}

TEST_F(ProxyBridgeStart, fails_with_the_launch_error_when_the_proxy_cannot_be_launched) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    world.tools.removeDNSSD();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message,
              "processLaunchFailed(POSIXErrorCode(rawValue: 2): No such file or directory)");
    EXPECT_EQ(bridge->relayCount(), 0U);
    world.network.drain();
    EXPECT_NO_THROW(listenTCP(world.macIP, phone.port())) << "the control channel's relay is still open";
}

TEST_F(ProxyBridgeStart, becomes_active_even_if_the_system_log_cannot_be_followed) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    world.tools.removeLogFollower();
    makeBridge(profile(phone.port()));
    bridge->start(true);
    ASSERT_TRUE(untilActive());
    EXPECT_EQ(log.back(),
              "Phone: tunnel ports cannot be followed in the system log: POSIXErrorCode(rawValue: 2): No "
              "such file or "
              "directory");
}

TEST(WireProtocolVersion, is_read_from_the_txt_record_and_19_where_that_fails) {
    DeviceProfile profile = DeviceProfile::draft("Phone");
    EXPECT_EQ(wireProtocolVersion(profile), 19);
    const std::map<std::string, std::int64_t> versions{
        {"24", 24},  {"+7", 7},   {"-3", -3},   {"", 19},  {"2x", 19}, {" 2", 19},
        {"2.0", 19}, {"+-2", 19}, {"0x10", 19}, {"+", 19}, {"007", 7}, {"9223372036854775808", 19}};
    for (const auto& [text, version] : versions) {
        profile.txtRecord["ver"] = text;
        EXPECT_EQ(wireProtocolVersion(profile), version) << "\"" << text << "\"";
    }
}

}  // namespace
}  // namespace quillbay
