#include <fmt/format.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <filesystem>

#include "bridge/BridgeFixture.h"
#include "bridge/RelayBindError.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using boost::asio::ip::tcp;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

/// A bridge that is up, and what a person does to it then.
class ProxyBridgeRelays : public BridgeTest {
 protected:
    void startActive(const DeviceProfile& wanted) {
        phoneIsAway();
        makeBridge(wanted);
        bridge->start(true);
        ASSERT_TRUE(untilActive()) << bridge->state().message;
    }

    [[nodiscard]] bool listens(std::uint16_t wanted) const {
        boost::asio::io_context context;
        tcp::socket socket(context);
        boost::system::error_code error;
        socket.connect({boost::asio::ip::make_address_v4(world.macIP), wanted}, error);
        return !error;
    }

    fakes::FakePhone phone{world.phoneIP, Manner::answers};
    std::uint16_t port = phone.port();
};

/// Shuts the process's own listening socket down, as an interface that goes away does to it.
void breakListener(const std::string& address, std::uint16_t port) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        int listening = 0;
        socklen_t size = sizeof listening;
        if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 || listening == 0)
            continue;
        if (boundPort(descriptor) != port) continue;
        sockaddr_in bound{};
        size = sizeof bound;
        ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &size);
        if (bound.sin_addr.s_addr == ipv4Endpoint(address, port).sin_addr.s_addr)
            ::shutdown(descriptor, SHUT_RDWR);
    }
}

TEST_F(ProxyBridgeRelays, carry_the_control_channel_to_the_phone) {
    startActive(profile(port));
    boost::asio::io_context context;
    tcp::socket client(context);
    client.connect({boost::asio::ip::make_address_v4(world.macIP), port});
    boost::asio::write(client, boost::asio::buffer("hello", 5));
    std::string reply(9, ' ');
    boost::asio::read(client, boost::asio::buffer(reply));
    EXPECT_EQ(reply, "RPPairing");
}

TEST_F(ProxyBridgeRelays, reach_a_phone_whose_address_is_a_name) {
    const fakes::FakePhone named("127.0.0.1", Manner::answers);
    DeviceProfile wanted = profile(named.port());
    wanted.providerIP = "localhost";
    startActive(wanted);
    boost::asio::io_context context;
    tcp::socket client(context);
    client.connect({boost::asio::ip::make_address_v4(world.macIP), named.port()});
    boost::asio::write(client, boost::asio::buffer("hello", 5));
    std::string reply(9, ' ');
    boost::system::error_code error;
    boost::asio::read(client, boost::asio::buffer(reply), error);
    EXPECT_EQ(reply, "RPPairing") << error.message();
}

TEST_F(ProxyBridgeRelays, take_the_next_local_port_silently_when_the_first_is_taken) {
    const UniqueDescriptor taken = listenTCP(world.macIP, port);
    startActive(profile(port));
    EXPECT_THAT(
        log, ElementsAre(fmt::format("Phone: local port {} was unavailable on this Mac — relaying the "
                                     "RemotePairing control channel on {} instead.",
                                     port, port + 1),
                         fmt::format("Phone: port {} (relayed locally on {}) verified, 1 TCP + 1 UDP relay "
                                     "open",
                                     port, port + 1)));
    ASSERT_TRUE(world.until([&] { return world.tools.runningRegistrations() == 1; }));
    EXPECT_EQ(world.tools.registrations().at(0).at(6), std::to_string(port + 1));
}

TEST_F(ProxyBridgeRelays, log_every_further_local_port_that_is_taken) {
    const UniqueDescriptor first = listenTCP(world.macIP, port);
    const UniqueDescriptor second = listenTCP(world.macIP, static_cast<std::uint16_t>(port + 1));
    startActive(profile(port));
    EXPECT_EQ(log.at(0),
              fmt::format("Phone: local port {} unavailable for TCP (POSIXErrorCode(rawValue: 98): Address "
                          "already in use), trying next…",
                          port + 1));
    EXPECT_EQ(log.at(1),
              fmt::format("Phone: local port {} was unavailable on this Mac — relaying the RemotePairing "
                          "control channel on {} instead.",
                          port, port + 2));
}

TEST_F(ProxyBridgeRelays, take_the_next_local_port_when_the_first_is_taken_for_udp) {
    const UniqueDescriptor taken = bindUDP(world.macIP, port);
    startActive(profile(port));
    EXPECT_EQ(log.at(0),
              fmt::format("Phone: local port {} usable for TCP but not UDP (POSIXErrorCode(rawValue: 98): "
                          "Address already in use), trying next…",
                          port));
    world.network.drain();
    EXPECT_FALSE(listens(port)) << "the TCP relay of the failed attempt is still open";
}

TEST_F(ProxyBridgeRelays, fail_with_the_last_error_after_32_local_ports) {
    std::vector<UniqueDescriptor> taken;
    for (unsigned i = 0; i < 32 && port + i <= 65535; ++i)
        taken.push_back(listenTCP(world.macIP, static_cast<std::uint16_t>(port + i)));
    phoneIsAway();
    makeBridge(profile(port));
    bridge->start(true);
    ASSERT_TRUE(untilError());
    EXPECT_EQ(bridge->state().message, "POSIXErrorCode(rawValue: 98): Address already in use");
    EXPECT_EQ(log.size(), taken.size() - 1) << "one line for every attempt but the first";
}

TEST_F(ProxyBridgeRelays, never_try_a_port_above_65535) {
    PairingRelayRequest request;
    request.localIP = world.macIP;
    request.remoteHost = world.phoneIP;
    request.remotePort = 65534;
    request.displayName = "Phone";
    std::vector<std::string> lines;
    request.onLog = [&](const std::string& line) { lines.push_back(line); };
    const UniqueDescriptor first = listenTCP(world.macIP, 65534);
    const UniqueDescriptor second = listenTCP(world.macIP, 65535);
    EXPECT_THROW(bindPairingRelays(world.network, request), std::system_error);
    EXPECT_THAT(lines,
                ElementsAre("Phone: local port 65535 unavailable for TCP (POSIXErrorCode(rawValue: 98): "
                            "Address already in use), trying next…"));
}

TEST_F(ProxyBridgeRelays, time_out_when_no_attempt_is_allowed) {
    PairingRelayRequest request;
    request.localIP = world.macIP;
    request.remoteHost = world.phoneIP;
    request.remotePort = port;
    request.maxAttempts = 0;
    EXPECT_THROW(bindPairingRelays(world.network, request), RelayBindError);
}

TEST_F(ProxyBridgeRelays, tell_which_transport_of_the_control_channel_fails_and_its_local_port) {
    const UniqueDescriptor taken = listenTCP(world.macIP, port);
    PairingRelayRequest request;
    request.localIP = world.macIP;
    request.remoteHost = world.phoneIP;
    request.remotePort = port;
    std::vector<std::string> failures;
    request.onFailure = [&](std::uint16_t localPort, const std::string& transport,
                            const std::exception_ptr&) {
        failures.push_back(transport + " " + std::to_string(localPort));
    };
    const PairingRelays relays = bindPairingRelays(world.network, request);
    EXPECT_THAT(failures, ::testing::IsEmpty());
    relays.udp->onError(std::make_exception_ptr(RelayBindError::timedOut()));
    relays.tcp->onError(std::make_exception_ptr(RelayBindError::timedOut()));
    EXPECT_THAT(failures, ElementsAre(fmt::format("UDP {}", port + 1), fmt::format("TCP {}", port + 1)));
}

TEST_F(ProxyBridgeRelays, open_the_control_port_once_when_the_tunnel_range_includes_it) {
    DeviceProfile wanted = profile(port);
    wanted.tunnelPortRangeStart = static_cast<std::uint16_t>(port - 1);
    wanted.tunnelPortRangeEnd = static_cast<std::uint16_t>(port + 1);
    startActive(wanted);
    EXPECT_EQ(bridge->relayCount(), 3U);
    EXPECT_EQ(bridge->udpRelayCount(), 3U);
    EXPECT_EQ(bridge->coveredPorts().count(), 3U);
    EXPECT_EQ(log.back(), fmt::format("Phone: port {} verified, 3 TCP + 3 UDP relay open", port));
    world.network.drain();
    EXPECT_TRUE(listens(static_cast<std::uint16_t>(port + 1)));
}

TEST_F(ProxyBridgeRelays, open_the_whole_range_up_to_65535) {
    DeviceProfile wanted = profile(port);
    wanted.tunnelPortRangeStart = 65530;
    wanted.tunnelPortRangeEnd = 65535;
    startActive(wanted);
    EXPECT_EQ(bridge->relayCount(), 7U);
}

TEST_F(ProxyBridgeRelays, stay_active_when_a_port_of_the_range_is_taken) {
    DeviceProfile wanted = profile(port);
    wanted.tunnelPortRangeStart = 40001;
    wanted.tunnelPortRangeEnd = 40003;
    const UniqueDescriptor tcpTaken = listenTCP(world.macIP, 40001);
    const UniqueDescriptor udpTaken = bindUDP(world.macIP, 40002);
    startActive(wanted);
    ASSERT_TRUE(world.until([&] { return log.size() >= 3; }));
    EXPECT_THAT(log,
                Contains("Phone: tunnel-range TCP relay on port 40001 failed: POSIXErrorCode(rawValue: 98): "
                         "Address already in use"));
    EXPECT_THAT(log,
                Contains("Phone: tunnel-range UDP relay on port 40002 failed: POSIXErrorCode(rawValue: 98): "
                         "Address already in use"));
    EXPECT_EQ(bridge->state(), ProxyBridgeState::active());
}

TEST_F(ProxyBridgeRelays, open_for_a_tunnel_port_that_the_log_reports) {
    startActive(profile(port));
    ASSERT_TRUE(world.until([&] { return world.tools.logIsFollowed(); }));
    // A follower may start to read a moment after it was launched, so the line is repeated until it was seen.
    ASSERT_TRUE(world.until([&] {
        world.tools.appendLogLine("Got tunnel endpoint: 'fd12::1:41123'");
        return bridge->relayCount() == 2;
    }));
    EXPECT_EQ(log.back(), "Phone: live tunnel port 41123 discovered, relay open");
    EXPECT_EQ(bridge->udpRelayCount(), 2U);
    world.network.drain();
    EXPECT_TRUE(listens(41123));

    const std::size_t lines = log.size();
    world.tools.appendLogLine("Got tunnel endpoint: 'fd12::1:41123'");
    world.tools.appendLogLine(fmt::format("Got tunnel endpoint: 'fd12::1:{}'", port));
    world.tools.appendLogLine("Got tunnel endpoint: 'fd12::1:41124'");
    ASSERT_TRUE(world.until([&] { return bridge->relayCount() == 3; }));
    EXPECT_EQ(log.size(), lines + 1) << "a port that is covered already is no news";
}

TEST_F(ProxyBridgeRelays, are_not_kept_from_their_work_by_a_log_that_repeats_itself) {
    const auto printed = world.folder.path() / "printed";
    world.host.tools.logFollower = {
        "/bin/sh",
        {"-c", "yes \"Got tunnel endpoint: 'fd12::1:41125'\" | head -n 20000; touch " + printed.string() +
                   "; exec sleep 600"}};
    startActive(profile(port));
    // Nothing runs on the main queue meanwhile. What the pipe still holds is less than a tenth of the lines.
    ASSERT_TRUE(fakes::waitUntil([&] { return std::filesystem::exists(printed); }));
    world.network.drain();
    std::size_t turns = 0;
    ASSERT_TRUE(fakes::waitUntil([&] {
        turns += world.mainQueue.context().poll();
        return bridge->relayCount() == 2;
    }));
    EXPECT_LT(turns, 100U);
    EXPECT_EQ(log.back(), "Phone: live tunnel port 41125 discovered, relay open");
}

TEST_F(ProxyBridgeRelays, stay_when_the_log_can_no_longer_be_followed_which_is_logged_once) {
    world.host.tools.logFollower = {"/bin/true", {}};
    startActive(profile(port));
    const char* const line =
        "Phone: tunnel ports are no longer followed in the system log: the tool for it has ended";
    ASSERT_TRUE(world.until([&] { return std::find(log.begin(), log.end(), line) != log.end(); }));
    world.network.drain();
    EXPECT_EQ(std::count(log.begin(), log.end(), line), 1);
    EXPECT_EQ(bridge->state(), ProxyBridgeState::active());
    EXPECT_TRUE(listens(port));
}

TEST_F(ProxyBridgeRelays, log_a_discovered_port_that_is_taken) {
    const UniqueDescriptor taken = listenTCP(world.macIP, 41200);
    startActive(profile(port));
    ASSERT_TRUE(world.until([&] {
        world.tools.appendLogLine("Got tunnel endpoint: '10.0.0.1:41200'");
        return std::find(
                   log.begin(), log.end(),
                   "Phone: discovered-port TCP relay on 41200 failed: POSIXErrorCode(rawValue: 98): Address "
                   "already in use") != log.end();
    }));
    EXPECT_EQ(bridge->state(), ProxyBridgeState::active());
}

TEST_F(ProxyBridgeRelays, ignore_a_discovered_port_while_the_bridge_is_not_active) {
    startActive(profile(port));
    // That the bridge's follower reads is seen by its next relay, that it has read again by a second
    // follower.
    ASSERT_TRUE(world.until([&] {
        world.tools.appendLogLine("Got tunnel endpoint: '10.0.0.1:41299'");
        return bridge->relayCount() == 2;
    }));
    TunnelPortWatcher second(world.tools.table(), world.network);
    std::atomic<std::uint16_t> seen = 0;
    second.onPort = [&](std::uint16_t reported) { seen = reported; };
    second.start();
    breakListener(world.macIP, port);
    ASSERT_TRUE(untilError());
    for (const std::uint16_t late : std::array<std::uint16_t, 3>{41300, 41301, 41302}) {
        ASSERT_TRUE(world.until([&] {
            world.tools.appendLogLine(fmt::format("Got tunnel endpoint: '10.0.0.1:{}'", late));
            return seen == late;
        }));
    }
    world.settle();
    EXPECT_EQ(bridge->relayCount(), 2U);
    EXPECT_THAT(log, Not(Contains("Phone: live tunnel port 41300 discovered, relay open")));
}

TEST_F(ProxyBridgeRelays, report_a_control_channel_that_fails_after_it_was_up) {
    startActive(profile(port));
    breakListener(world.macIP, port);
    ASSERT_TRUE(untilError());
    const std::string begin = fmt::format(
        "TCP relay for the RemotePairing control channel (local port {}) failed after it was already up: ",
        port);
    EXPECT_EQ(bridge->state().message.substr(0, begin.size()), begin);
    EXPECT_TRUE(bridge->state().message.ends_with("."));
    EXPECT_EQ(log.back(), "Phone: " + bridge->state().message);
    EXPECT_EQ(bridge->relayCount(), 1U) << "what is up is left to the owner";
}

TEST_F(ProxyBridgeRelays, report_a_scan_that_the_user_asked_for_and_stay_up) {
    startActive(profile(port));
    RemotePairingScanReport report;
    bool done = false;
    bridge->discoverDevicePort([&](const RemotePairingScanReport& given) {
        report = given;
        done = true;
    });
    EXPECT_EQ(log.back(), "Phone: port scan started (" + world.phoneIP + ")");
    ASSERT_TRUE(world.until([&] { return done; }));
    EXPECT_EQ(report.port, port);
    EXPECT_EQ(bridge->state(), ProxyBridgeState::active());
    EXPECT_THAT(discovered, ::testing::IsEmpty()) << "what is done with the port is the owner's";
}

}  // namespace
}  // namespace quillbay
