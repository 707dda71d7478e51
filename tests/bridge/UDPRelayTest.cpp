#include "bridge/UDPRelay.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <future>
#include <set>
#include <system_error>
#include <vector>

#include "bridge/RelayBindError.h"
#include "bridge/RelayTestTools.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::eventually;
using test::pattern;
using test::Peer;

class UDPRelayTest : public test::RelayTest {
 protected:
    std::unique_ptr<UDPRelay> relayTo(std::uint16_t port) {
        auto relay = std::make_unique<UDPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", port);
        relay->startBlocking(2s);
        return relay;
    }
};

TEST_F(UDPRelayTest, two_clients_get_independent_flows_and_only_their_own_replies) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer first = Peer::udpTo(relay->boundPort());
    const Peer second = Peer::udpTo(relay->boundPort());
    std::uint16_t firstFlow = 0;
    std::uint16_t secondFlow = 0;
    EXPECT_TRUE(first.send("from the first"));
    EXPECT_EQ(phone.datagramFrom(firstFlow), "from the first");
    EXPECT_TRUE(second.send("from the second"));
    EXPECT_EQ(phone.datagramFrom(secondFlow), "from the second");
    EXPECT_NE(firstFlow, secondFlow);
    EXPECT_TRUE(phone.sendTo(secondFlow, "to the second"));
    EXPECT_TRUE(phone.sendTo(firstFlow, "to the first"));
    EXPECT_EQ(first.datagram(), "to the first");
    EXPECT_EQ(second.datagram(), "to the second");
    char byte = 0;
    EXPECT_EQ(::recv(first.fd(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(::recv(second.fd(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(relay->connectionCount(), 4U);
}

TEST_F(UDPRelayTest, a_client_keeps_its_flow) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    std::set<std::uint16_t> sources;
    for (int i = 0; i < 50; ++i) {
        std::uint16_t source = 0;
        EXPECT_TRUE(client.send(std::to_string(i)));
        EXPECT_EQ(phone.datagramFrom(source), std::to_string(i));
        sources.insert(source);
    }
    EXPECT_EQ(sources.size(), 1U);
    EXPECT_EQ(relay->connectionCount(), 2U);
}

TEST_F(UDPRelayTest, keeps_datagrams_whole_and_in_order) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    for (int burst = 0; burst < 20; ++burst) {
        for (int i = 0; i < 20; ++i)
            EXPECT_TRUE(client.send("burst " + std::to_string(burst * 20 + i)));
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(phone.datagram(), "burst " + std::to_string(burst * 20 + i));
    }
}

TEST_F(UDPRelayTest, passes_the_largest_datagram_both_ways) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    const std::string there = pattern(65'507, 1);
    const std::string back = pattern(65'507, 2);
    std::uint16_t flow = 0;
    EXPECT_TRUE(client.send(there));
    EXPECT_TRUE(phone.datagramFrom(flow) == there);
    EXPECT_TRUE(phone.sendTo(flow, back));
    EXPECT_TRUE(client.datagram() == back);
}

TEST_F(UDPRelayTest, drops_a_zero_length_datagram_and_receives_the_next_one) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    std::uint16_t flow = 0;
    EXPECT_TRUE(client.send(""));
    // Alone, and then with another behind it. Two rounds of the loop: it may look at its sockets last.
    network->drain();
    network->drain();
    EXPECT_TRUE(client.send(""));
    EXPECT_TRUE(client.send("after"));
    EXPECT_EQ(phone.datagramFrom(flow), "after");
    EXPECT_TRUE(phone.sendTo(flow, ""));
    network->drain();
    network->drain();
    EXPECT_TRUE(phone.sendTo(flow, ""));
    EXPECT_TRUE(phone.sendTo(flow, "after that"));
    EXPECT_EQ(client.datagram(), "after that");
}

TEST_F(UDPRelayTest, an_unreachable_port_ends_that_flow_only_and_a_new_datagram_makes_a_new_one) {
    auto phone = std::make_unique<Peer>(Peer::udpBound());
    const std::uint16_t phonePort = phone->localPort();
    const auto relay = relayTo(phonePort);
    const Peer dying = Peer::udpTo(relay->boundPort());
    const Peer quiet = Peer::udpTo(relay->boundPort());
    std::uint16_t quietFlow = 0;
    EXPECT_TRUE(quiet.send("quiet"));
    EXPECT_EQ(phone->datagramFrom(quietFlow), "quiet");
    EXPECT_TRUE(dying.send("alive"));
    EXPECT_EQ(phone->datagram(), "alive");
    EXPECT_EQ(relay->connectionCount(), 4U);
    phone.reset();
    EXPECT_TRUE(dying.send("nobody there"));
    EXPECT_TRUE(eventually([&] { return relay->connectionCount() == 2; }));
    UniqueDescriptor again = bindUDP("127.0.0.1", phonePort);
    ASSERT_EQ(::fcntl(again.get(), F_SETFL, 0), 0);
    const Peer back(std::move(again));
    EXPECT_TRUE(back.sendTo(quietFlow, "still there"));
    EXPECT_EQ(quiet.datagram(), "still there");
    EXPECT_TRUE(dying.send("hello again"));
    EXPECT_EQ(back.datagram(), "hello again");
    EXPECT_EQ(relay->connectionCount(), 4U);
}

TEST_F(UDPRelayTest, a_flow_whose_socket_is_shut_down_ends_and_a_new_datagram_makes_a_new_one) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const Peer client = Peer::udpTo(relay->boundPort());
    std::uint16_t first = 0;
    EXPECT_TRUE(client.send("one"));
    EXPECT_EQ(phone.datagramFrom(first), "one");
    const auto isFlow = [&](int fd) {
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        return ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
               ntohs(peer.sin_port) == phone.localPort();
    };
    EXPECT_EQ(test::shutDownSockets(isFlow), 1);
    EXPECT_TRUE(eventually([&] { return relay->connectionCount() == 0; }));
    std::uint16_t second = 0;
    EXPECT_TRUE(client.send("two"));
    EXPECT_EQ(phone.datagramFrom(second), "two");
    EXPECT_TRUE(phone.sendTo(second, "answer"));
    EXPECT_EQ(client.datagram(), "answer");
    EXPECT_EQ(relay->connectionCount(), 2U);
}

TEST_F(UDPRelayTest, after_stop_no_flow_is_left_and_nothing_is_forwarded) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const std::uint16_t port = relay->boundPort();
    const Peer client = Peer::udpBound();
    std::uint16_t flow = 0;
    EXPECT_TRUE(client.sendTo(port, "before"));
    EXPECT_EQ(phone.datagramFrom(flow), "before");
    relay->stop();
    EXPECT_EQ(relay->connectionCount(), 0U);
    network->drain();
    EXPECT_TRUE(client.sendTo(port, "after"));
    EXPECT_TRUE(phone.sendTo(flow, "after"));
    char byte = 0;
    EXPECT_EQ(::recv(phone.fd(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(::recv(client.fd(), &byte, 1, MSG_DONTWAIT), -1);
}

TEST_F(UDPRelayTest, a_port_that_another_relay_has_is_taken) {
    const auto first = relayTo(1);
    UDPRelay second(*network, "127.0.0.1", first->boundPort(), "127.0.0.1", 1);
    EXPECT_THROW(second.startBlocking(2s), std::system_error);
    first->stop();
    network->drain();
    UDPRelay third(*network, "127.0.0.1", 0, "127.0.0.1", 1);
    EXPECT_NO_THROW(third.startBlocking(2s));
}

TEST_F(UDPRelayTest, serves_1000_clients) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    constexpr int batch = 50;  // what the phone's receive buffer holds for certain
    std::vector<Peer> clients;
    std::set<std::uint16_t> flows;
    for (int i = 0; i < 1000 / batch; ++i) {
        const std::size_t begin = clients.size();
        for (int j = 0; j < batch; ++j)
            clients.push_back(Peer::udpTo(relay->boundPort()));
        for (std::size_t j = begin; j < clients.size(); ++j)
            EXPECT_TRUE(clients[j].send(std::to_string(j)));
        for (int j = 0; j < batch; ++j) {
            std::uint16_t flow = 0;
            const std::string text = phone.datagramFrom(flow);
            flows.insert(flow);
            EXPECT_TRUE(phone.sendTo(flow, text));
        }
        for (std::size_t j = begin; j < clients.size(); ++j)
            EXPECT_EQ(clients[j].datagram(), std::to_string(j));
    }
    EXPECT_EQ(flows.size(), 1000U);
    EXPECT_EQ(relay->connectionCount(), 2000U);
}

TEST_F(UDPRelayTest, a_thousand_flows_take_little_memory) {
    const Peer phone = Peer::udpBound();
    const auto relay = relayTo(phone.localPort());
    const auto open = [&] {
        Peer client = Peer::udpTo(relay->boundPort());
        EXPECT_TRUE(client.send("hello"));
        EXPECT_EQ(phone.datagram(), "hello");
        return client;
    };
    std::vector<Peer> clients;
    clients.reserve(1100);
    for (int i = 0; i < 100; ++i)
        clients.push_back(open());
    const std::size_t before = test::residentBytes();
    for (int i = 0; i < 1000; ++i)
        clients.push_back(open());
    EXPECT_EQ(relay->connectionCount(), 2200U);
    if (test::residentBytesTell()) {
        EXPECT_LE(test::residentBytes() - before, 1000U * 200);
    }
}

TEST_F(UDPRelayTest, a_dropped_relay_gives_its_port_and_its_flows_back) {
    const Peer phone = Peer::udpBound();
    const std::size_t open = test::openDescriptors();
    auto relay = relayTo(phone.localPort());
    const std::uint16_t port = relay->boundPort();
    const Peer client = Peer::udpBound();
    std::uint16_t flow = 0;
    EXPECT_TRUE(client.sendTo(port, "before"));
    EXPECT_EQ(phone.datagramFrom(flow), "before");
    relay.reset();
    network->drain();
    EXPECT_EQ(test::openDescriptors(), open + 1) << "the client's own socket is the only one left";
    EXPECT_TRUE(bindUDP("127.0.0.1", port).valid());
    // Both ports are nobody's now: what is sent there arrives nowhere, and the sender is told so.
    char byte = 0;
    for (const std::uint16_t receiver : {flow, port}) {
        const Peer directed = Peer::udpTo(receiver);
        EXPECT_TRUE(directed.send("too late"));
        EXPECT_EQ(::recv(directed.fd(), &byte, 1, 0), -1);
        EXPECT_EQ(errno, ECONNREFUSED);
    }
    EXPECT_TRUE(phone.sendTo(flow, "too late"));
    EXPECT_TRUE(client.sendTo(port, "too late"));
    EXPECT_EQ(::recv(phone.fd(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(::recv(client.fd(), &byte, 1, MSG_DONTWAIT), -1);
}

}  // namespace quillbay
