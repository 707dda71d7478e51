// What the relay does with datagrams that wait together: it receives and sends them in batches.
#include <fcntl.h>
#include <sys/socket.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bridge/RelayTestTools.h"
#include "bridge/UDPRelay.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::eventually;
using test::pattern;
using test::Peer;

class UDPRelayBurst : public test::RelayTest {
 protected:
    std::unique_ptr<UDPRelay> relayTo(std::uint16_t port) {
        auto relay = std::make_unique<UDPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", port);
        relay->startBlocking(2s);
        return relay;
    }
};

TEST_F(UDPRelayBurst, keeps_each_clients_order_when_the_datagrams_of_many_wait_together) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    std::vector<Peer> clients;
    for (int i = 0; i < 5; ++i)
        clients.push_back(Peer::udpTo(relay->boundPort()));
    std::map<std::string, std::vector<std::string>> sent;
    {
        const test::BlockedLoop blocked(network->relayLoopFor(relay->boundPort()));
        for (int round = 0; round < 16; ++round) {
            for (std::size_t i = 0; i < clients.size(); ++i) {
                const std::string text = std::to_string(i) + " " + std::to_string(round);
                EXPECT_TRUE(clients[i].send(text));
                sent[text.substr(0, 1)].push_back(text);
            }
        }
    }
    std::map<std::string, std::vector<std::string>> received;
    for (int i = 0; i < 16 * 5; ++i) {
        const std::string text = phone.datagram();
        received[text.substr(0, 1)].push_back(text);
    }
    EXPECT_EQ(received, sent);
}

TEST_F(UDPRelayBurst, replies_that_wait_together_reach_their_clients_whole_and_in_order) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    std::vector<Peer> clients;
    std::vector<std::uint16_t> flows(3);
    for (std::size_t i = 0; i < flows.size(); ++i) {
        clients.push_back(Peer::udpTo(relay->boundPort()));
        EXPECT_TRUE(clients[i].send("hello"));
        EXPECT_EQ(phone.datagramFrom(flows[i]), "hello");
    }
    // More than one batch, some of one size in a row and some not, empty ones among them.
    const std::vector<std::size_t> sizes{1200, 1200, 1200, 7, 0, 1200, 1201, 3000, 64, 64, 64, 0, 63, 64};
    {
        const test::BlockedLoop blocked(network->relayLoopFor(relay->boundPort()));
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            for (std::size_t j = 0; j < flows.size(); ++j)
                EXPECT_TRUE(phone.sendTo(flows[j], pattern(sizes[i], static_cast<unsigned>(10 * i + j))));
        }
    }
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (sizes[i] == 0) continue;
        for (std::size_t j = 0; j < flows.size(); ++j)
            EXPECT_TRUE(clients[j].datagram() == pattern(sizes[i], static_cast<unsigned>(10 * i + j)));
    }
}

TEST_F(UDPRelayBurst, more_replies_than_one_turn_sends_all_reach_their_clients) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    std::vector<Peer> clients;
    std::vector<std::uint16_t> flows(30);
    for (std::uint16_t& flow : flows) {
        clients.push_back(Peer::udpTo(relay->boundPort()));
        EXPECT_TRUE(clients.back().send("hello"));
        EXPECT_EQ(phone.datagramFrom(flow), "hello");
    }
    constexpr unsigned each = 20;
    {
        const test::BlockedLoop blocked(network->relayLoopFor(relay->boundPort()));
        for (unsigned i = 0; i < each; ++i)
            for (const std::uint16_t flow : flows)
                EXPECT_TRUE(phone.sendTo(flow, std::to_string(flow) + " " + std::to_string(i)));
    }
    for (unsigned i = 0; i < each; ++i)
        for (std::size_t j = 0; j < flows.size(); ++j)
            EXPECT_EQ(clients[j].datagram(), std::to_string(flows[j]) + " " + std::to_string(i));
    // And none of them is deaf now.
    for (std::size_t j = 0; j < flows.size(); ++j) {
        EXPECT_TRUE(phone.sendTo(flows[j], "again"));
        EXPECT_EQ(clients[j].datagram(), "again");
    }
}

TEST_F(UDPRelayBurst, a_burst_of_one_size_is_passed_on_as_the_datagrams_that_it_was) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    constexpr unsigned count = 40;  // more than one batch
    {
        const test::BlockedLoop blocked(network->relayLoopFor(relay->boundPort()));
        for (unsigned i = 0; i < count; ++i)
            EXPECT_TRUE(client.send(i == 5 ? "" : pattern(1200, i)));
    }
    for (unsigned i = 0; i < count; ++i) {
        if (i == 5) continue;
        EXPECT_TRUE(phone.datagram() == pattern(1200, i));
    }
}

TEST_F(UDPRelayBurst, a_burst_to_a_port_that_nobody_has_is_dropped_and_the_next_datagram_is_served) {
    auto phone = std::make_unique<Peer>(Peer::udpBound());
    const std::uint16_t phonePort = phone->localPort();
    const auto relay = relayTo(phonePort);
    const Peer client = Peer::udpTo(relay->boundPort());
    phone.reset();
    {
        const test::BlockedLoop blocked(network->relayLoopFor(relay->boundPort()));
        for (unsigned i = 0; i < 40; ++i)
            EXPECT_TRUE(client.send(pattern(10 + i % 7, i)));
    }
    // Each has opened a flow that dies of it; the last one perhaps just now.
    network->drain();
    network->drain();
    EXPECT_TRUE(eventually([&] { return relay->connectionCount() == 0; }));
    UniqueDescriptor again = bindUDP("127.0.0.1", phonePort);
    ASSERT_EQ(::fcntl(again.get(), F_SETFL, 0), 0);
    const Peer back(std::move(again));
    EXPECT_TRUE(client.send("hello again"));
    EXPECT_EQ(back.datagram(), "hello again");
}

TEST_F(UDPRelayBurst, a_relay_in_use_has_room_for_bursts_on_both_sides) {
    const auto roomOf = [](int fd) {
        int bytes = 0;
        socklen_t length = sizeof bytes;
        EXPECT_EQ(::getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, &length), 0);
        return bytes;
    };
    // What this system gives to those who ask for as much.
    const Peer asking = Peer::udpBound();
    const int wanted = 1 << 20;
    ASSERT_EQ(::setsockopt(asking.fd(), SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted), 0);
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    EXPECT_TRUE(client.send("hello"));
    EXPECT_EQ(phone.datagram(), "hello");
    std::vector<int> rooms;
    const auto look = [&](int fd) {
        sockaddr_in name{};
        socklen_t length = sizeof name;
        const bool isListener = ::getsockname(fd, reinterpret_cast<sockaddr*>(&name), &length) == 0 &&
                                name.sin_port == htons(relay->boundPort());
        length = sizeof name;
        const bool isFlow = ::getpeername(fd, reinterpret_cast<sockaddr*>(&name), &length) == 0 &&
                            name.sin_port == htons(phone.localPort());
        if (isListener || isFlow) rooms.push_back(roomOf(fd));
        return false;
    };
    EXPECT_EQ(test::shutDownSockets(look), 0);
    EXPECT_EQ(rooms, (std::vector<int>{roomOf(asking.fd()), roomOf(asking.fd())}));
}

}  // namespace quillbay
