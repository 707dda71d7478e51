// Relays that are for this computer only, with clients that have another's address. In a network of the
// test's own, whose loopback interface has both addresses.
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <functional>

#include "bridge/RelayAccess.h"
#include "bridge/RelayTestTools.h"
#include "bridge/TCPRelay.h"
#include "bridge/UDPRelay.h"
#include "fakes/NetworkNamespace.h"
#include "platform/Sockets.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using test::eventually;
using test::Peer;
using test::PhoneService;

constexpr const char* mac = "10.77.0.1";
constexpr const char* desk = "10.77.0.2";

/// A client of the relay on this port, which comes from this address.
Peer client(int type, const std::string& source, std::uint16_t port) {
    UniqueDescriptor made(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    const sockaddr_in from = ipv4Endpoint(source, 0);
    const sockaddr_in to = ipv4Endpoint(mac, port);
    EXPECT_EQ(::bind(made.get(), reinterpret_cast<const sockaddr*>(&from), sizeof from), 0);
    EXPECT_EQ(::connect(made.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
    return Peer(std::move(made));
}

template <typename Relay>
struct Restricted {
    explicit Restricted(std::uint16_t phonePort) : relay(network, mac, 0, "127.0.0.1", phonePort, access) {
        relay.startBlocking(2s);
    }
    ~Restricted() {
        relay.stop();
        network.drain();
    }
    Restricted(const Restricted&) = delete;
    Restricted& operator=(const Restricted&) = delete;

    void restrict() {
        access->setOnlyThisComputer(true);
        relay.endConnectionsOfOthers();
        network.drain();
    }

    NetworkThreads network{2};
    std::shared_ptr<RelayAccess> access = std::make_shared<RelayAccess>();
    Relay relay;
};

void inNetwork(const std::function<void()>& body) {
    fakes::inNetworkNamespace([&] {
        fakes::shell(
            "ip link set lo up && ip addr add 10.77.0.1/32 dev lo && ip addr add 10.77.0.2/32 dev lo");
        body();
    });
}

TEST(RelayAccessNetwork, other_computers_may_use_an_unrestricted_bridge) {
    inNetwork([] {
        const PhoneService phone;
        Restricted<TCPRelay> tcp(phone.port());
        const Peer stranger = client(SOCK_STREAM, desk, tcp.relay.boundPort());
        EXPECT_TRUE(stranger.send("hello"));
        EXPECT_EQ(phone.accept().receive(5), "hello");

        const Peer service = Peer::udpBound();
        Restricted<UDPRelay> udp(service.localPort());
        EXPECT_TRUE(client(SOCK_DGRAM, desk, udp.relay.boundPort()).send("hello"));
        EXPECT_EQ(service.datagram(), "hello");
        EXPECT_EQ(tcp.access->refused().total() + udp.access->refused().total(), 0U);
    });
}

TEST(RelayAccessNetwork, a_connection_of_another_computer_is_closed_before_the_phone_hears_of_it) {
    inNetwork([] {
        const PhoneService phone;
        Restricted<TCPRelay> tcp(phone.port());
        tcp.restrict();
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(client(SOCK_STREAM, desk, tcp.relay.boundPort()).end(), Peer::End::closed);
        EXPECT_EQ(tcp.relay.activeConnectionCount(), 0);
        EXPECT_EQ(tcp.access->refused().connections, 3U);
        EXPECT_EQ(tcp.access->refused().lastSource, "10.77.0.2");
        // The first one that reaches the phone is the one that may.
        const Peer own = client(SOCK_STREAM, mac, tcp.relay.boundPort());
        EXPECT_TRUE(own.send("own"));
        EXPECT_EQ(phone.accept().receive(3), "own");
    });
}

TEST(RelayAccessNetwork, this_computer_still_gets_through_from_the_relays_address_and_from_loopback) {
    inNetwork([] {
        const PhoneService phone;
        const Peer service = Peer::udpBound();
        Restricted<TCPRelay> tcp(phone.port());
        Restricted<UDPRelay> udp(service.localPort());
        tcp.restrict();
        udp.restrict();
        for (const char* source : {mac, "127.0.0.1", "127.0.0.9"}) {
            const Peer own = client(SOCK_STREAM, source, tcp.relay.boundPort());
            EXPECT_TRUE(own.send("there"));
            const Peer accepted = phone.accept();
            EXPECT_EQ(accepted.receive(5), "there") << source;
            EXPECT_TRUE(accepted.send("back"));
            EXPECT_EQ(own.receive(4), "back") << source;
            const Peer datagrams = client(SOCK_DGRAM, source, udp.relay.boundPort());
            EXPECT_TRUE(datagrams.send("there"));
            EXPECT_EQ(service.datagram(), "there") << source;
        }
        EXPECT_EQ(tcp.access->refused().total() + udp.access->refused().total(), 0U);
    });
}

TEST(RelayAccessNetwork, a_datagram_of_another_computer_is_dropped_before_there_is_a_flow) {
    inNetwork([] {
        const Peer service = Peer::udpBound();
        Restricted<UDPRelay> udp(service.localPort());
        udp.restrict();
        const Peer stranger = client(SOCK_DGRAM, desk, udp.relay.boundPort());
        for (int i = 0; i < 5; ++i)
            EXPECT_TRUE(stranger.send("stranger"));
        EXPECT_TRUE(client(SOCK_DGRAM, mac, udp.relay.boundPort()).send("own"));
        EXPECT_EQ(service.datagram(), "own");
        EXPECT_TRUE(eventually([&] { return udp.access->refused().datagrams == 5; }));
        EXPECT_EQ(udp.relay.connectionCount(), 2U) << "a flow and its client: this computer's";
    });
}

TEST(RelayAccessNetwork, the_connections_of_others_end_when_the_bridge_is_restricted) {
    inNetwork([] {
        const PhoneService phone;
        Restricted<TCPRelay> tcp(phone.port());
        const Peer stranger = client(SOCK_STREAM, desk, tcp.relay.boundPort());
        const Peer strangersPhone = phone.accept();
        const Peer own = client(SOCK_STREAM, mac, tcp.relay.boundPort());
        const Peer ownPhone = phone.accept();
        ASSERT_TRUE(stranger.send("s") && own.send("o"));
        ASSERT_EQ(strangersPhone.receive(1) + ownPhone.receive(1), "so");
        ASSERT_EQ(tcp.relay.activeConnectionCount(), 2);
        tcp.restrict();
        EXPECT_EQ(tcp.relay.activeConnectionCount(), 1);
        EXPECT_EQ(stranger.end(), Peer::End::closed);
        EXPECT_EQ(strangersPhone.end(), Peer::End::closed);
        EXPECT_TRUE(own.send("still"));
        EXPECT_EQ(ownPhone.receive(5), "still");
        EXPECT_EQ(tcp.access->refused().connections, 0U) << "it was none when it came";
    });
}

TEST(RelayAccessNetwork, nothing_that_another_computer_sends_to_an_open_connection_gets_through_afterwards) {
    inNetwork([] {
        const PhoneService phone;
        Restricted<TCPRelay> tcp(phone.port());
        const Peer stranger = client(SOCK_STREAM, desk, tcp.relay.boundPort());
        const Peer strangersPhone = phone.accept();
        ASSERT_TRUE(stranger.send("before"));
        ASSERT_EQ(strangersPhone.receive(6), "before");
        tcp.restrict();
        stranger.send("after");  // which may be refused
        EXPECT_EQ(strangersPhone.receive(1), "");
    });
}

TEST(RelayAccessNetwork, the_flows_of_others_are_forgotten_when_the_bridge_is_restricted) {
    inNetwork([] {
        const Peer service = Peer::udpBound();
        Restricted<UDPRelay> udp(service.localPort());
        const Peer stranger = client(SOCK_DGRAM, desk, udp.relay.boundPort());
        const Peer own = client(SOCK_DGRAM, mac, udp.relay.boundPort());
        std::uint16_t strangersFlow = 0;
        ASSERT_TRUE(stranger.send("before"));
        ASSERT_EQ(service.datagramFrom(strangersFlow), "before");
        ASSERT_TRUE(own.send("own before"));
        ASSERT_EQ(service.datagram(), "own before");
        ASSERT_EQ(udp.relay.connectionCount(), 4U);
        udp.restrict();
        EXPECT_EQ(udp.relay.connectionCount(), 2U);
        EXPECT_TRUE(stranger.send("after"));
        EXPECT_TRUE(own.send("own after"));
        EXPECT_EQ(service.datagram(), "own after");
        EXPECT_TRUE(eventually([&] { return udp.access->refused().datagrams == 1; }));
        // Nor does the phone reach the other computer through what is left.
        service.sendTo(strangersFlow, "from the phone");
        char byte = 0;
        udp.network.drain();
        EXPECT_EQ(::recv(stranger.fd(), &byte, 1, MSG_DONTWAIT), -1);
    });
}

TEST(RelayAccessNetwork, the_others_may_come_again_when_the_bridge_is_open_again) {
    inNetwork([] {
        const PhoneService phone;
        Restricted<TCPRelay> tcp(phone.port());
        tcp.restrict();
        EXPECT_EQ(client(SOCK_STREAM, desk, tcp.relay.boundPort()).end(), Peer::End::closed);
        tcp.access->setOnlyThisComputer(false);
        const Peer stranger = client(SOCK_STREAM, desk, tcp.relay.boundPort());
        EXPECT_TRUE(stranger.send("again"));
        EXPECT_EQ(phone.accept().receive(5), "again");
    });
}

}  // namespace
}  // namespace quillbay
