#include "platform/Datagrams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "platform/ForkedChild.h"
#include "platform/Sockets.h"
#include "platform/SystemCallTrace.h"
#include "platform/posix/PlainDatagrams.h"

namespace quillbay {
namespace {

using testing::ElementsAre;

constexpr const char* here = "127.0.0.1";

/// The two that must do the same.
struct Way {
    const char* name;
    DatagramCount (*receive)(int, Directed, std::span<Datagram>);
    DatagramCount (*send)(int, Directed, std::span<const Datagram>);
};

/// A text whose every part tells where it belongs.
std::string pattern(std::size_t size, unsigned seed) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        seed = seed * 1664525U + 1013904223U;
        text[i] = static_cast<char>(seed >> 24U);
    }
    return text;
}

/// Datagrams with room for the largest.
class Room {
 public:
    explicit Room(std::size_t count) : bytes_(count, std::string(datagramRoomBytes, '\0')), places_(count) {
        for (std::size_t i = 0; i < count; ++i)
            places_[i].bytes = bytes_[i].data();
    }
    explicit Room(const std::vector<std::string>& texts) : Room(texts.size()) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            std::copy(texts[i].begin(), texts[i].end(), places_[i].bytes);
            places_[i].size = texts[i].size();
        }
    }

    std::vector<Datagram>& places() { return places_; }
    [[nodiscard]] std::vector<std::string> texts(std::size_t count) const {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < count; ++i)
            texts.emplace_back(places_[i].bytes, places_[i].size);
        return texts;
    }

 private:
    std::vector<std::string> bytes_;
    std::vector<Datagram> places_;
};

struct Ends {
    UniqueDescriptor near = bindUDP(here, 0);
    UniqueDescriptor far = bindUDP(here, 0);
    Ends() { direct(near, far); }

    static void direct(const UniqueDescriptor& from, const UniqueDescriptor& to) {
        const sockaddr_in address = ipv4Endpoint(here, boundPort(to.get()));
        EXPECT_EQ(::connect(from.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const int bytes = 4 << 20;
        EXPECT_EQ(::setsockopt(to.get(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes), 0);
    }
};

void sendOne(const UniqueDescriptor& from, const std::string& text) {
    EXPECT_EQ(::send(from.get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
}

/// What arrives at a socket, as many as that, each received by itself.
std::vector<std::string> arrivals(const UniqueDescriptor& at, std::size_t count) {
    std::vector<std::string> texts;
    pollfd asked{at.get(), POLLIN, 0};
    while (texts.size() < count && ::poll(&asked, 1, 10'000) == 1) {
        std::string text(datagramRoomBytes, '\0');
        const ssize_t size = ::recv(at.get(), text.data(), text.size(), 0);
        if (size < 0) break;
        text.resize(static_cast<std::size_t>(size));
        texts.push_back(std::move(text));
    }
    return texts;
}

class Datagrams : public ::testing::TestWithParam<Way> {};

INSTANTIATE_TEST_SUITE_P(Both, Datagrams,
                         ::testing::Values(Way{"system", receiveDatagrams, sendDatagrams},
                                           Way{"plain", plain::receiveDatagrams, plain::sendDatagrams}),
                         [](const auto& way) { return way.param.name; });

TEST_P(Datagrams, receives_each_at_its_size_and_in_order_also_the_empty_and_the_largest) {
    const Ends ends;
    const std::vector<std::string> texts{"one", "", pattern(65'507, 1), "two", "two", pattern(1200, 2)};
    for (const std::string& text : texts)
        sendOne(ends.near, text);
    Room room(8);
    const DatagramCount received = GetParam().receive(ends.far.get(), Directed::no, room.places());
    EXPECT_EQ(received.count, 6U);
    EXPECT_EQ(received.error, 0);
    EXPECT_TRUE(room.texts(6) == texts);
}

TEST_P(Datagrams, takes_no_more_than_there_are_places_and_leaves_the_rest) {
    const Ends ends;
    for (const char* text : {"one", "two", "three"})
        sendOne(ends.near, text);
    Room room(2);
    EXPECT_EQ(GetParam().receive(ends.far.get(), Directed::no, room.places()).count, 2U);
    EXPECT_THAT(room.texts(2), ElementsAre("one", "two"));
    EXPECT_EQ(GetParam().receive(ends.far.get(), Directed::no, room.places()).count, 1U);
    EXPECT_THAT(room.texts(1), ElementsAre("three"));
}

TEST_P(Datagrams, tells_where_each_came_from) {
    const Ends first;
    const UniqueDescriptor second = bindUDP(here, 0);
    Ends::direct(second, first.far);
    sendOne(first.near, "from the first");
    sendOne(second, "from the second");
    Room room(4);
    ASSERT_EQ(GetParam().receive(first.far.get(), Directed::no, room.places()).count, 2U);
    EXPECT_EQ(ntohs(room.places()[0].peer.sin_port), boundPort(first.near.get()));
    EXPECT_EQ(ntohs(room.places()[1].peer.sin_port), boundPort(second.get()));
    EXPECT_EQ(room.places()[1].peer.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
}

TEST_P(Datagrams, says_EAGAIN_when_nothing_waits) {
    const Ends ends;
    Room room(2);
    const DatagramCount received = GetParam().receive(ends.far.get(), Directed::no, room.places());
    EXPECT_EQ(received.count, 0U);
    EXPECT_EQ(received.error, EAGAIN);
}

TEST_P(Datagrams, says_that_nobody_is_there) {
    Ends ends;
    ends.far.reset();
    Room room({"to nobody"});
    EXPECT_EQ(GetParam().send(ends.near.get(), Directed::yes, room.places()).error, 0);
    EXPECT_EQ(GetParam().receive(ends.near.get(), Directed::yes, room.places()).error, ECONNREFUSED);
    EXPECT_EQ(GetParam().send(ends.near.get(), Directed::yes, room.places()).error, 0);
    const DatagramCount sent = GetParam().send(ends.near.get(), Directed::yes, room.places());
    EXPECT_EQ(sent.count, 0U);
    EXPECT_EQ(sent.error, ECONNREFUSED);
}

TEST_P(Datagrams, a_burst_of_one_size_arrives_as_the_datagrams_that_it_was) {
    for (const std::size_t size : {1U, 64U, 1200U, 2047U}) {
        const Ends ends;
        std::vector<std::string> texts;
        for (unsigned i = 0; i < mostDatagramsAtOnce; ++i)
            texts.push_back(pattern(size, i));
        Room room(texts);
        const DatagramCount sent = GetParam().send(ends.near.get(), Directed::yes, room.places());
        EXPECT_EQ(sent.count, mostDatagramsAtOnce);
        EXPECT_EQ(sent.error, 0);
        EXPECT_TRUE(arrivals(ends.far, texts.size()) == texts) << size;
    }
}

TEST_P(Datagrams, a_burst_of_mixed_sizes_arrives_as_it_was) {
    const Ends ends;
    std::vector<std::string> texts;
    unsigned seed = 0;
    for (const std::size_t size :
         {100U, 100U, 99U, 100U, 100U, 101U, 1U, 1U, 2U, 1U, 30'000U, 30'000U, 30'000U, 65'507U, 65'507U, 5U})
        texts.push_back(pattern(size, ++seed));
    Room room(texts);
    EXPECT_EQ(GetParam().send(ends.near.get(), Directed::yes, room.places()).count, texts.size());
    EXPECT_TRUE(arrivals(ends.far, texts.size()) == texts);
}

TEST_P(Datagrams, each_goes_to_its_own_peer_in_order) {
    const UniqueDescriptor from = bindUDP(here, 0);
    const UniqueDescriptor first = bindUDP(here, 0);
    const UniqueDescriptor second = bindUDP(here, 0);
    Room room({"1a", "1b", "2a", "1c", "2b", "2c"});
    const sockaddr_in toFirst = ipv4Endpoint(here, boundPort(first.get()));
    const sockaddr_in toSecond = ipv4Endpoint(here, boundPort(second.get()));
    for (Datagram& each : room.places())
        each.peer = each.bytes[0] == '1' ? toFirst : toSecond;
    EXPECT_EQ(GetParam().send(from.get(), Directed::no, room.places()).count, 6U);
    EXPECT_THAT(arrivals(first, 3), ElementsAre("1a", "1b", "1c"));
    EXPECT_THAT(arrivals(second, 3), ElementsAre("2a", "2b", "2c"));
}

TEST_P(Datagrams, stops_at_the_one_that_the_system_refuses) {
    const Ends ends;
    Room room({"one", "two", "too large", "three"});
    room.places()[2].size = 65'508;
    const DatagramCount sent = GetParam().send(ends.near.get(), Directed::yes, room.places());
    EXPECT_EQ(sent.count, 2U);
    EXPECT_EQ(sent.error, EMSGSIZE);
    EXPECT_EQ(GetParam().send(ends.near.get(), Directed::yes, std::span(room.places()).subspan(3)).count, 1U);
    EXPECT_THAT(arrivals(ends.far, 3), ElementsAre("one", "two", "three"));
}

TEST_P(Datagrams, a_burst_that_the_way_takes_only_in_fragments_arrives) {
    inChild([] {
        enterNamespaces(CLONE_NEWNET);
        shell("ip link set lo mtu 1280 up");
        const Ends ends;
        std::vector<std::string> texts;
        for (unsigned i = 0; i < 8; ++i)
            texts.push_back(pattern(i < 4 ? 1400 : 1200, i));
        Room room(texts);
        EXPECT_EQ(GetParam().send(ends.near.get(), Directed::yes, room.places()).count, texts.size());
        EXPECT_TRUE(arrivals(ends.far, texts.size()) == texts);
    });
}

TEST(DatagramsOfThisSystem, a_batch_takes_one_call_each_way) {
    const Ends ends;
    Room sent(std::vector<std::string>(20, "the same size"));
    Room received(20);
    std::size_t count = 0;
    const auto calls = systemCallsOf([&] {
        sendDatagrams(ends.near.get(), Directed::yes, sent.places());
        count = receiveDatagrams(ends.far.get(), Directed::no, received.places()).count;
        if (count != 20) std::abort();
    });
    std::vector<long> numbers;
    for (const SystemCall& call : calls)
        numbers.push_back(call.number);
    EXPECT_THAT(numbers, ElementsAre(SYS_sendmmsg, SYS_recvmmsg));
}

}  // namespace
}  // namespace quillbay
