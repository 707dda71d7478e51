// How connections end: nothing that was received is lost, and nothing stays behind.
#include <netinet/in.h>
#include <sys/socket.h>

#include <future>
#include <thread>
#include <vector>

#include "bridge/RelayTestTools.h"
#include "bridge/TCPDirection.h"
#include "bridge/TCPRelay.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::eventually;
using test::pattern;
using test::Peer;
using test::PhoneService;

namespace {

constexpr std::size_t mebibyte = 1024 * 1024;

/// A port that accepts nobody: its queue is full, so a connect gets no answer.
class SilentService {
 public:
    SilentService() : listener_(listenTCP("127.0.0.1", 0)) {
        EXPECT_EQ(::listen(listener_.get(), 0), 0);
        const sockaddr_in address = ipv4Endpoint("127.0.0.1", port());
        for (UniqueDescriptor& filler : fillers_) {
            filler = openSocket(AF_INET, SOCK_STREAM);
            static_cast<void>(
                ::connect(filler.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
        }
    }
    [[nodiscard]] std::uint16_t port() const { return boundPort(listener_.get()); }
    /// From now on whoever tries, or tries again, is refused.
    void refuse() { listener_.reset(); }

 private:
    UniqueDescriptor listener_;
    UniqueDescriptor fillers_[4];
};

}  // namespace

class TCPRelayEnd : public test::RelayTest {
 protected:
    std::unique_ptr<TCPRelay> relayTo(std::uint16_t port) {
        auto relay = std::make_unique<TCPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", port);
        relay->startBlocking(2s);
        return relay;
    }
    void expectNobody(const TCPRelay& relay) {
        EXPECT_TRUE(eventually([&] { return relay.activeConnectionCount() == 0; }));
        EXPECT_EQ(relay.connectionCount(), 0U);
    }
};

TEST_F(TCPRelayEnd, delivers_the_tail_before_closing_when_the_client_ends) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::string sent = pattern(4 * mebibyte);
    auto sender = std::async(std::launch::async, [&] {
        EXPECT_TRUE(client.send(sent));
        client.close();
    });
    EXPECT_TRUE(server.receive(sent.size()) == sent);
    EXPECT_EQ(server.end(), Peer::End::closed);
    sender.get();
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, delivers_the_tail_to_a_client_that_has_not_read_yet_when_the_phone_ends) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    Peer server = phone.accept();
    // Unread bytes at the relay's side of either connection are what would turn a careless close into a
    // reset.
    EXPECT_TRUE(client.send(pattern(1000)));
    EXPECT_EQ(server.receive(1000), pattern(1000));
    const std::string sent = pattern(300'000);
    EXPECT_TRUE(server.send(sent));
    server.endSending();
    EXPECT_TRUE(client.send("too late"));
    expectNobody(*relay);
    EXPECT_TRUE(client.send("much too late"));
    EXPECT_TRUE(client.receive(sent.size()) == sent);
    EXPECT_EQ(client.end(), Peer::End::closed);
}

TEST_F(TCPRelayEnd, closes_both_sides_at_once_when_the_client_ends_sending_while_the_phone_sends) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    auto sender = std::async(std::launch::async, [&] {
        const std::string block = pattern(mebibyte);
        for (int i = 0; i < 100'000; ++i) {
            if (!server.send(block)) return true;
        }
        return false;
    });
    EXPECT_EQ(client.receive(mebibyte).size(), mebibyte);
    client.endSending();
    expectNobody(*relay);
    EXPECT_TRUE(sender.get()) << "the phone's connection stayed open";
}

TEST_F(TCPRelayEnd, a_reset_by_the_client_closes_the_phone_side) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    EXPECT_TRUE(client.send("x"));
    EXPECT_EQ(server.receive(1), "x");
    client.reset();
    EXPECT_NE(server.end(), Peer::End::none);
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, a_reset_by_the_phone_closes_the_client_side) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    Peer server = phone.accept();
    EXPECT_TRUE(server.send("x"));
    EXPECT_EQ(client.receive(1), "x");
    server.reset();
    EXPECT_NE(client.end(), Peer::End::none);
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, what_the_phone_said_before_it_reset_reaches_the_client_that_still_sends) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    Peer server = phone.accept();
    EXPECT_TRUE(client.send("q"));
    EXPECT_EQ(server.receive(1), "q");
    EXPECT_TRUE(client.send(pattern(1000)));
    EXPECT_TRUE(server.send("the answer"));
    EXPECT_EQ(client.receive(10), "the answer");
    server.close();  // with bytes unread: a reset on the wire
    EXPECT_NE(client.end(), Peer::End::none);
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, a_client_of_a_phone_that_refuses_is_counted_up_and_down_and_closed) {
    SilentService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    EXPECT_TRUE(client.send("hello?"));
    EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 1; }));
    EXPECT_EQ(relay->connectionCount(), 2U);
    phone.refuse();
    EXPECT_NE(client.end(), Peer::End::none);
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, clients_of_a_phone_that_refuses_at_once_are_closed_and_none_stays_counted) {
    const auto relay = relayTo(test::refusedPort());
    for (int i = 0; i < 20; ++i) {
        const Peer client = Peer::tcpTo(relay->boundPort());
        EXPECT_TRUE(client.send("hello?"));
        EXPECT_NE(client.end(), Peer::End::none);
    }
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, a_client_of_a_phone_that_never_answers_waits_and_may_leave) {
    const SilentService phone;
    const auto relay = relayTo(phone.port());
    {
        const Peer client = Peer::tcpTo(relay->boundPort());
        EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 1; }));
        EXPECT_EQ(relay->connectionCount(), 2U);
    }
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, stop_ends_a_connect_that_gets_no_answer) {
    const SilentService phone;
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    EXPECT_TRUE(client.send(pattern(100'000)));
    EXPECT_TRUE(eventually([&] { return relay->activeConnectionCount() == 1; }));
    relay->stop();
    EXPECT_NE(client.end(), Peer::End::none);
    expectNobody(*relay);
}

TEST_F(TCPRelayEnd, a_peer_that_never_closes_is_let_go_after_a_short_while) {
    const PhoneService phone;
    const auto relay = relayTo(phone.port());
    Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::size_t open = test::openDescriptors();
    client.close();
    EXPECT_EQ(server.end(), Peer::End::closed);
    // The client's own descriptor and both of the pair are gone, while the phone still holds its end.
    EXPECT_TRUE(eventually([&] { return test::openDescriptors() == open - 3; }, 4s));
}

TEST_F(TCPRelayEnd, a_slow_phone_slows_its_sender_down_within_bounded_memory_and_loses_nothing) {
    const PhoneService phone(16, 64 * 1024);
    const auto relay = relayTo(phone.port());
    const Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::string sent = pattern(64 * mebibyte);
    std::atomic<bool> all = false;
    auto sender = std::async(std::launch::async, [&] {
        client.send(sent.substr(0, 1));
        std::size_t done = 1;
        while (done < sent.size()) {
            const ssize_t count = ::send(client.fd(), sent.data() + done, sent.size() - done, MSG_NOSIGNAL);
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        all = done == sent.size();
    });
    std::string received;
    received.reserve(sent.size());
    const std::size_t reserved = test::residentBytes();
    std::size_t most = 0;
    while (received.size() < sent.size()) {
        // A pause in which everything that can fill up does.
        if (received.size() < 4 * mebibyte) std::this_thread::sleep_for(30ms);
        const std::string part =
            server.receive(std::min<std::size_t>(mebibyte, sent.size() - received.size()));
        if (part.empty()) break;
        received += part;
        const std::size_t now = test::residentBytes();
        const std::size_t own = received.size() + 3 * mebibyte;
        most = std::max(most, now > reserved + own ? now - reserved - own : 0);
    }
    sender.get();
    EXPECT_TRUE(all);
    EXPECT_TRUE(received == sent);
    if (test::residentBytesTell()) {
        EXPECT_LE(most, 4 * mebibyte);
    }
}

/// Sends until nothing more is taken; returns how much was.
std::size_t fillUp(const Peer& client) {
    const std::string block = pattern(256 * 1024);
    std::size_t sent = 0;
    for (;;) {
        const ssize_t count = ::send(client.fd(), block.data(), block.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            sent += static_cast<std::size_t>(count);
            continue;
        }
        // Full for a while means full for good.
        if (!eventually([&] { return ::send(client.fd(), "x", 1, MSG_NOSIGNAL | MSG_DONTWAIT) == 1; }, 300ms))
            return sent;
        ++sent;
    }
}

TEST_F(TCPRelayEnd, a_reader_that_waits_for_room_does_not_spin_when_its_sender_is_reset) {
    const PhoneService phone(16, 4096);
    const auto relay = relayTo(phone.port());
    Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::size_t sent = fillUp(client);
    client.reset();
    const auto used = test::processorTime();
    std::this_thread::sleep_for(1s);
    EXPECT_LT(test::processorTime() - used, 100ms);
    // What had reached the relay before is delivered all the same.
    const std::string received = server.receive(sent);
    EXPECT_GE(received.size(), TCPDirection::heldLimitBytes);
    EXPECT_EQ(server.end(), Peer::End::closed);
}

TEST_F(TCPRelayEnd, a_reader_that_waits_for_room_does_not_spin_when_its_sender_hangs_up) {
    const PhoneService phone(16, 4096);
    const auto relay = relayTo(phone.port());
    Peer client = Peer::tcpTo(relay->boundPort());
    const Peer server = phone.accept();
    const std::size_t sent = fillUp(client);
    client.endSending();
    const auto used = test::processorTime();
    std::this_thread::sleep_for(1s);
    EXPECT_LT(test::processorTime() - used, 100ms);
    EXPECT_EQ(server.receive(sent).size(), sent);
    EXPECT_EQ(server.end(), Peer::End::closed);
}

}  // namespace quillbay
