#include "bridge/LocalHostPresenceCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "fakes/Leaks.h"
#include "fakes/NetworkNamespace.h"
#include "platform/Sockets.h"

namespace quillbay {
namespace {

using fakes::inNetworkNamespace;
using fakes::makeInterface;
using fakes::shell;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

/// What a responder sends for a query, one datagram each.
using Answers = std::function<std::vector<Bytes>(std::uint8_t idHigh, std::uint8_t idLow)>;

std::vector<Bytes> noAnswer(std::uint8_t, std::uint8_t) {
    return {};
}
Bytes header(std::uint8_t high, std::uint8_t low, std::uint8_t flags, std::uint8_t answers) {
    return {high, low, flags, 0, 0, 0, 0, answers, 0, 0, 0, 0};
}

/// The labels of the query's name, joined by dots.
std::string nameIn(std::span<const std::uint8_t> query) {
    std::string name;
    for (std::size_t at = 12; at < query.size() && query[at] != 0; at += query[at] + std::size_t{1})
        name.append(query.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                    query.begin() + static_cast<std::ptrdiff_t>(at + query[at]) + 1)
            .append(".");
    return name;
}

/// A multicast DNS responder on the interfaces with these addresses.
class Responder {
 public:
    Responder(const std::vector<std::string>& interfaceAddresses, Answers answers)
        : answers_(std::move(answers)), socket_(openSocket(AF_INET, SOCK_DGRAM)) {
        const int on = 1;
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        const sockaddr_in group = ipv4Endpoint("224.0.0.251", 5353);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&group), sizeof group), 0);
        for (const std::string& address : interfaceAddresses) {
            ip_mreq membership{};
            membership.imr_multiaddr = group.sin_addr;
            membership.imr_interface = ipv4Endpoint(address, 0).sin_addr;
            EXPECT_EQ(
                ::setsockopt(socket_.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership),
                0);
        }
        thread_ = std::thread([this] { run(); });
    }
    ~Responder() {
        ending_ = true;
        thread_.join();
    }
    Responder(const Responder&) = delete;
    Responder& operator=(const Responder&) = delete;

    [[nodiscard]] int queries() const { return queries_; }
    /// The names that were asked for.
    [[nodiscard]] std::vector<std::string> names() const {
        const std::lock_guard lock(mutex_);
        return names_;
    }

 private:
    void run() {
        while (!ending_) {
            pollfd entry{socket_.get(), POLLIN, 0};
            if (::poll(&entry, 1, 5) <= 0) continue;
            std::array<std::uint8_t, 1500> query{};
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t count = ::recvfrom(socket_.get(), query.data(), query.size(), 0,
                                             reinterpret_cast<sockaddr*>(&from), &length);
            if (count < 12) continue;
            {
                const std::lock_guard lock(mutex_);
                names_.push_back(nameIn(std::span(query).first(static_cast<std::size_t>(count))));
            }
            ++queries_;
            for (const Bytes& answer : answers_(query[0], query[1]))
                ::sendto(socket_.get(), answer.data(), answer.size(), 0,
                         reinterpret_cast<const sockaddr*>(&from), length);
        }
    }

    Answers answers_;
    UniqueDescriptor socket_;
    std::atomic<int> queries_{0};
    mutable std::mutex mutex_;
    std::vector<std::string> names_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

class LocalHostPresenceCheckTest : public testing::Test {
 protected:
    bool present(const std::string& host, milliseconds timeout, const StopToken& token = {}) {
        const std::size_t before = fakes::openDescriptors();
        const auto begin = std::chrono::steady_clock::now();
        const bool answer = LocalHostPresenceCheck::isHostCurrentlyPresent(host, timeout, random_, token);
        time_ = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
        EXPECT_EQ(fakes::openDescriptors(), before);
        return answer;
    }
    bool presentWith(const Answers& answers, milliseconds timeout) {
        bool answer = false;
        inNetworkNamespace([&] {
            shell("ip link set lo up");
            makeInterface("lan0", "10.77.1.1/24");
            const Responder responder({"10.77.1.1"}, answers);
            answer = present("Phone.local.", timeout);
            EXPECT_EQ(responder.queries(), 1);
        });
        return answer;
    }

    SystemRandomSource random_;
    milliseconds time_{};
};

TEST_F(LocalHostPresenceCheckTest, an_answer_makes_the_host_present_at_once) {
    EXPECT_TRUE(presentWith(
        [](std::uint8_t high, std::uint8_t low) { return std::vector<Bytes>{header(high, low, 0x84, 1)}; },
        milliseconds(5000)));
    EXPECT_LT(time_, milliseconds(2000));
}

TEST_F(LocalHostPresenceCheckTest, no_reply_makes_it_absent_after_the_time) {
    EXPECT_FALSE(presentWith(noAnswer, milliseconds(300)));
    EXPECT_GE(time_, milliseconds(298));
    EXPECT_LT(time_, milliseconds(1500));
}

TEST_F(LocalHostPresenceCheckTest, wrong_answers_do_not_count) {
    const auto wrong = [](std::uint8_t high, std::uint8_t low) {
        const auto other = static_cast<std::uint8_t>(low ^ 1U);
        return std::vector<Bytes>{header(high, low, 0x84, 0), header(high, low, 0x04, 1),
                                  header(high, other, 0x84, 1), Bytes{high, low, 0x84}, Bytes{}};
    };
    EXPECT_FALSE(presentWith(wrong, milliseconds(300)));
    EXPECT_GE(time_, milliseconds(298));
}

TEST_F(LocalHostPresenceCheckTest, the_right_answer_counts_behind_wrong_ones) {
    EXPECT_TRUE(presentWith(
        [](std::uint8_t high, std::uint8_t low) {
            return std::vector<Bytes>{header(high, low, 0x84, 0), Bytes{}, Bytes(1500, 0xFF),
                                      header(high, low, 0x84, 1)};
        },
        milliseconds(5000)));
}

TEST_F(LocalHostPresenceCheckTest, asks_on_every_suitable_interface_and_no_other) {
    inNetworkNamespace([&] {
        shell("ip link set lo up");
        makeInterface("lan0", "10.77.1.1/24");
        makeInterface("lan1", "10.77.2.1/24");
        makeInterface("deaf0", "10.77.3.1/24");
        shell("ip link set deaf0 multicast off");
        makeInterface("down0", "10.77.4.1/24");
        shell("ip link set down0 down");
        const Responder responder({"10.77.1.1", "10.77.2.1", "10.77.3.1", "10.77.4.1"}, noAnswer);
        EXPECT_FALSE(present("phone.local", milliseconds(300)));
        EXPECT_EQ(responder.queries(), 2);
        shell("ip link set deaf0 multicast on");
        EXPECT_FALSE(present("phone.local", milliseconds(300)));
        EXPECT_EQ(responder.queries(), 2 + 3);
    });
}

TEST_F(LocalHostPresenceCheckTest, without_a_suitable_interface_the_host_counts_as_present_at_once) {
    inNetworkNamespace([&] {
        EXPECT_TRUE(present("phone.local", milliseconds(5000)));
        EXPECT_LT(time_, milliseconds(1000));
        shell("ip link set lo up");
        EXPECT_TRUE(present("phone.local", milliseconds(5000)));
        EXPECT_LT(time_, milliseconds(1000));
    });
}

TEST_F(LocalHostPresenceCheckTest, a_host_that_cannot_be_asked_for_counts_as_present_at_once) {
    EXPECT_TRUE(present("", milliseconds(5000)));
    EXPECT_TRUE(present(std::string(64, 'x') + ".local", milliseconds(5000)));
    EXPECT_LT(time_, milliseconds(1000));
}

TEST_F(LocalHostPresenceCheckTest, a_stop_ends_it_at_once_as_absent) {
    inNetworkNamespace([&] {
        shell("ip link set lo up");
        makeInterface("lan0", "10.77.1.1/24");
        const StopSource source;
        const Responder responder({"10.77.1.1"}, [&](std::uint8_t, std::uint8_t) {
            source.requestStop();
            return std::vector<Bytes>();
        });
        EXPECT_FALSE(present("phone.local", milliseconds(60000), source.token()));
        EXPECT_LT(time_, milliseconds(2000));
        EXPECT_FALSE(present("phone.local", milliseconds(60000), source.token()));
    });
}

TEST_F(LocalHostPresenceCheckTest, an_instance_is_asked_for_by_its_name_as_it_is) {
    inNetworkNamespace([&] {
        shell("ip link set lo up");
        makeInterface("lan0", "10.77.1.1/24");
        const Responder responder({"10.77.1.1"}, [](std::uint8_t high, std::uint8_t low) {
            return std::vector<Bytes>{header(high, low, 0x84, 1)};
        });
        EXPECT_EQ(LocalHostPresenceCheck::ask("\u00DCber-1F._remotepairing._tcp.local", milliseconds(5000),
                                              random_, {}),
                  PresenceAnswer::answered);
        EXPECT_THAT(responder.names(), ElementsAre("\u00DCber-1F._remotepairing._tcp.local."));
        EXPECT_TRUE(present("\u00DCber.Local", milliseconds(5000)));
        EXPECT_EQ(responder.names().back(), "\u00FCber.local.") << "a host in lower case, as ever";
    });
}

TEST_F(LocalHostPresenceCheckTest, silence_is_not_the_same_as_being_unable_to_ask) {
    inNetworkNamespace([&] {
        EXPECT_EQ(LocalHostPresenceCheck::ask("phone.local", milliseconds(5000), random_, {}),
                  PresenceAnswer::couldNotAsk)
            << "there is no interface";
        shell("ip link set lo up");
        makeInterface("lan0", "10.77.1.1/24");
        EXPECT_EQ(LocalHostPresenceCheck::ask("phone.local", milliseconds(100), random_, {}),
                  PresenceAnswer::silent);
        EXPECT_EQ(LocalHostPresenceCheck::ask("", milliseconds(5000), random_, {}),
                  PresenceAnswer::couldNotAsk);
        EXPECT_EQ(LocalHostPresenceCheck::ask(std::string(64, 'x') + "._t._tcp.local", milliseconds(5000),
                                              random_, {}),
                  PresenceAnswer::couldNotAsk);
        const StopSource source;
        source.requestStop();
        EXPECT_EQ(LocalHostPresenceCheck::ask("phone.local", milliseconds(60000), random_, source.token()),
                  PresenceAnswer::silent)
            << "it was abandoned";
    });
}

}  // namespace
}  // namespace quillbay
