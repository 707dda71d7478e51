#include "bridge/TCPRelay.h"

#include <sys/socket.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <filesystem>
#include <system_error>
#include <thread>
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
using test::PhoneService;

class TCPRelayTest : public test::RelayTest {
 protected:
    std::unique_ptr<TCPRelay> relayTo(std::uint16_t port) {
        auto relay = std::make_unique<TCPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", port);
        relay->startBlocking(2s);
        return relay;
    }
};

TEST_F(TCPRelayTest, copies_bytes_both_ways) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    EXPECT_TRUE(client.send("hello phone"));
    EXPECT_EQ(server.receive(11), "hello phone");
    EXPECT_TRUE(server.send("hello tools"));
    EXPECT_EQ(client.receive(11), "hello tools");
    EXPECT_EQ(relay->activeConnectionCount(), 1);
    EXPECT_EQ(relay->connectionCount(), 2U);
}

TEST_F(TCPRelayTest, a_stream_with_an_urgent_byte_in_it_goes_on_without_that_byte) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::string half = pattern(4'000'000);
    auto sending = std::async(std::launch::async, [&] {
        return client.send(half) && ::send(client.fd(), "!", 1, MSG_OOB) == 1 && client.send(half);
    });
    EXPECT_TRUE(server.receive(2 * half.size()) == half + half);
    EXPECT_TRUE(sending.get());
}

TEST_F(TCPRelayTest, what_follows_an_urgent_byte_is_delivered_before_the_end) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    // The relay meets the urgent byte at ever other places of what it receives.
    for (std::size_t size = 65'536; size <= 65'536 * 9; size += 65'536) {
        const Peer client = Peer::tcpTo(relay->boundPort());
        const Peer server = phone.accept();
        const std::string most = pattern(size);
        auto sending = std::async(std::launch::async, [&] {
            const bool sent = client.send(most) && ::send(client.fd(), "!", 1, MSG_OOB) == 1 &&
                              client.send("the last words");
            client.endSending();
            return sent;
        });
        const std::string expected = most + "the last words";
        EXPECT_TRUE(server.receive(expected.size()) == expected) << size;
        EXPECT_TRUE(sending.get());
    }
}

TEST_F(TCPRelayTest, streams_side_by_side_never_mix_whatever_becomes_of_the_others) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    std::vector<std::future<bool>> outcomes;
    for (std::uint32_t i = 0; i < 12; ++i) {
        auto client = std::make_shared<Peer>(Peer::tcpTo(relay->boundPort()));
        auto server = std::make_shared<Peer>(phone.accept());
        const bool resets = i % 3 == 0;
        outcomes.push_back(std::async(std::launch::async, [client, i, resets] {
            const bool sent = client->send(pattern(6'000'000, i + 1));
            client->endSending();
            return sent || resets;
        }));
        outcomes.push_back(std::async(std::launch::async, [server, i, resets] {
            const std::string expected = pattern(6'000'000, i + 1);
            const std::size_t wanted = resets ? 700'000 + 100'000 * i : expected.size();
            const bool same = server->receive(wanted) == expected.substr(0, wanted);
            if (resets) server->reset();
            return same;
        }));
    }
    for (std::future<bool>& outcome : outcomes)
        EXPECT_TRUE(outcome.get());
}

TEST_F(TCPRelayTest, passes_on_what_the_client_sends_before_the_phone_has_answered) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    const std::string sent = pattern(200'000);
    EXPECT_TRUE(client.send(sent));
    EXPECT_TRUE(phone.accept().receive(sent.size()) == sent);
}

TEST_F(TCPRelayTest, can_have_a_port_again_at_once_after_stop) {
    const PhoneService phone;
    auto first = relayTo(phone.port());
    const std::uint16_t port = first->boundPort();
    const Peer client = Peer::tcpTo(port);
    const Peer server = phone.accept();
    first->stop();
    // Another relay's queue for the same port would be the same loop; port 0 and this port may not be.
    network->drain();
    TCPRelay second(*network, "127.0.0.1", port, "127.0.0.1", phone.port());
    EXPECT_NO_THROW(second.startBlocking(2s));
    second.stop();
    TCPRelay third(*network, "127.0.0.1", port, "127.0.0.1", phone.port());
    EXPECT_NO_THROW(third.startBlocking(2s));
}

TEST_F(TCPRelayTest, stop_with_live_pairs_cancels_all_of_them_and_empties_the_list) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer firstClient = Peer::tcpTo(relay->boundPort());
    const Peer firstServer = phone.accept();
    const Peer secondClient = Peer::tcpTo(relay->boundPort());
    const Peer secondServer = phone.accept();
    EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 2; }));
    relay->stop();
    EXPECT_EQ(relay->connectionCount(), 0U);
    for (const Peer* peer : {&firstClient, &firstServer, &secondClient, &secondServer}) {
        EXPECT_EQ(peer->end(), Peer::End::closed);
    }
    network->drain();
    EXPECT_EQ(relay->activeConnectionCount(), 0);
    EXPECT_EQ(relay->connectionCount(), 0U);
}

TEST_F(TCPRelayTest, can_be_stopped_in_the_middle_of_traffic) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    std::vector<std::thread> threads;
    std::atomic<int> moving = 0;
    for (int i = 0; i < 4; ++i) {
        auto client = std::make_shared<Peer>(Peer::tcpTo(relay->boundPort()));
        auto server = std::make_shared<Peer>(phone.accept());
        threads.emplace_back([client] {
            const std::string block = pattern(100'000);
            while (client->send(block)) {
            }
        });
        threads.emplace_back([server, &moving] {
            std::size_t total = 0;
            for (;;) {
                const std::size_t count = server->receive(100'000).size();
                if (total == 0) ++moving;
                total += count;
                if (count < 100'000) return;
            }
        });
    }
    EXPECT_TRUE(eventually([&] { return moving == 4; }));
    relay->stop();
    for (std::thread& thread : threads)
        thread.join();
    network->drain();
    EXPECT_EQ(relay->activeConnectionCount(), 0);
}

TEST_F(TCPRelayTest, a_dropped_relay_hands_on_what_is_received_next_and_does_not_re_arm) {
    const PhoneService phone;
    auto relay = relayTo(phone.port());
    const std::uint16_t port = relay->boundPort();
    const Peer client = Peer::tcpTo(port);
    const Peer server = phone.accept();
    EXPECT_TRUE(client.send("a"));
    EXPECT_EQ(server.receive(1), "a");
    relay.reset();
    network->drain();
    EXPECT_TRUE(client.send("last"));
    EXPECT_EQ(server.receive(4), "last");
    EXPECT_TRUE(client.send("never"));
    EXPECT_TRUE(server.send("also last"));
    EXPECT_EQ(client.receive(9), "also last");
    // With no receive under way any more, nothing holds the pair.
    EXPECT_EQ(server.end(), Peer::End::closed);
    EXPECT_EQ(client.end(), Peer::End::closed);
    const UniqueDescriptor again = listenTCP("127.0.0.1", port);
    EXPECT_TRUE(again.valid());
}

TEST_F(TCPRelayTest, serves_500_clients_at_once) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    std::vector<Peer> clients;
    std::vector<Peer> servers;
    for (int i = 0; i < 500; ++i)
        clients.push_back(Peer::tcpTo(relay->boundPort()));
    for (int i = 0; i < 500; ++i)
        servers.push_back(phone.accept());
    EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 500; }));
    for (std::size_t i = 0; i < clients.size(); ++i)
        EXPECT_TRUE(clients[i].send(std::to_string(1000 + i)));
    std::vector<bool> seen(500);
    for (const Peer& server : servers) {
        const std::string number = server.receive(4);
        ASSERT_EQ(number.size(), 4U);
        seen[static_cast<std::size_t>(std::stoi(number) - 1000)] = true;
        EXPECT_TRUE(server.send(number));
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 500);
    for (std::size_t i = 0; i < clients.size(); ++i)
        EXPECT_EQ(clients[i].receive(4), std::to_string(1000 + i));
    clients.clear();
    EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 0; }));
}

TEST_F(TCPRelayTest, assigning_onError_while_the_listener_fails_is_safe) {
    const PhoneService taken;
    for (int i = 0; i < 200; ++i) {
        std::atomic<int> calls = 0;
        TCPRelay relay(*network, "127.0.0.1", taken.port(), "127.0.0.1", 1);
        relay.start();
        relay.onError = [&calls](const std::exception_ptr&) { ++calls; };
        relay.onError = nullptr;
        network->drain();
        EXPECT_LE(calls, 1);
    }
}

}  // namespace quillbay
