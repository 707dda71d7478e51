#include "platform/ReadySockets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <optional>
#include <set>
#include <vector>

#include "platform/Sockets.h"
#include "platform/posix/PlainReadySockets.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// The two that must do the same.
struct Way {
    const char* name;
    std::unique_ptr<ReadySockets> (*make)(boost::asio::io_context&, ReadySockets::Handler);
};

struct Pair {
    UniqueDescriptor near = bindUDP("127.0.0.1", 0);
    UniqueDescriptor far = bindUDP("127.0.0.1", 0);
    Pair() { direct(near, far), direct(far, near); }

    static void direct(const UniqueDescriptor& from, const UniqueDescriptor& to) {
        const sockaddr_in address = ipv4Endpoint("127.0.0.1", boundPort(to.get()));
        EXPECT_EQ(::connect(from.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    void arrive() const { EXPECT_EQ(::send(far.get(), "x", 1, 0), 1); }
    /// Takes one datagram out.
    bool receive() const {
        char byte = 0;
        return ::recv(near.get(), &byte, 1, 0) == 1;
    }
};

class ReadySocketsTest : public ::testing::TestWithParam<Way> {
 protected:
    boost::asio::io_context loop_;
    std::set<std::uint64_t> told_;
    std::function<void(std::uint64_t)> action_ = [](std::uint64_t) {};
    std::unique_ptr<ReadySockets> sockets_ = make();

    std::unique_ptr<ReadySockets> make() {
        return GetParam().make(loop_, [this](std::span<const std::uint64_t> tags) {
            for (const std::uint64_t tag : tags) {
                told_.insert(tag);
                action_(tag);
            }
        });
    }

    /// What is told until all of `wanted` is, or for long.
    std::set<std::uint64_t> toldUntil(const std::set<std::uint64_t>& wanted) {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (told_ != wanted && std::chrono::steady_clock::now() < end)
            loop_.run_one_for(10s);
        return std::exchange(told_, {});
    }
    /// What is told by turns that need no waiting.
    std::set<std::uint64_t> toldAtOnce() {
        for (int turn = 0; turn < 10; ++turn)
            loop_.poll();
        return std::exchange(told_, {});
    }
};

INSTANTIATE_TEST_SUITE_P(Both, ReadySocketsTest,
                         ::testing::Values(Way{"system", makeReadySockets},
                                           Way{"plain", plain::makeReadySockets}),
                         [](const auto& way) { return way.param.name; });

TEST_P(ReadySocketsTest, tells_of_those_that_have_something_and_of_no_other) {
    const std::array<Pair, 3> pairs;
    for (std::size_t i = 0; i < pairs.size(); ++i)
        sockets_->add(pairs[i].near.get(), i);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    action_ = [&](std::uint64_t tag) { EXPECT_TRUE(pairs.at(tag).receive()); };
    pairs[0].arrive();
    pairs[2].arrive();
    EXPECT_THAT(toldUntil({0, 2}), ElementsAre(0, 2));
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    pairs[1].arrive();
    EXPECT_THAT(toldUntil({1}), ElementsAre(1));
}

TEST_P(ReadySocketsTest, tells_of_more_than_fit_one_turn) {
    const std::vector<Pair> pairs(100);
    std::set<std::uint64_t> all;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        sockets_->add(pairs[i].near.get(), i);
        pairs[i].arrive();
        all.insert(i);
    }
    action_ = [&](std::uint64_t tag) { EXPECT_TRUE(pairs.at(tag).receive()); };
    EXPECT_EQ(toldUntil(all), all);
}

TEST_P(ReadySocketsTest, tells_again_until_nothing_is_left) {
    const Pair pair;
    sockets_->add(pair.near.get(), 7);
    int received = 0;
    action_ = [&](std::uint64_t) { received += pair.receive() ? 1 : 0; };
    for (int i = 0; i < 5; ++i)
        pair.arrive();
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(toldUntil({7}), ElementsAre(7));
    EXPECT_EQ(received, 5);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
}

TEST_P(ReadySocketsTest, tells_of_one_that_failed_and_of_one_that_was_shut_down) {
    Pair failed;
    const Pair shut;
    sockets_->add(failed.near.get(), 1);
    sockets_->add(shut.near.get(), 2);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    action_ = [&](std::uint64_t tag) { sockets_->remove(tag == 1 ? failed.near.get() : shut.near.get()); };
    failed.far.reset();
    EXPECT_EQ(::send(failed.near.get(), "x", 1, 0), 1);
    EXPECT_THAT(toldUntil({1}), ElementsAre(1));
    EXPECT_EQ(::shutdown(shut.near.get(), SHUT_RDWR), 0);
    EXPECT_THAT(toldUntil({2}), ElementsAre(2));
    EXPECT_THAT(toldAtOnce(), IsEmpty());
}

TEST_P(ReadySocketsTest, says_nothing_of_one_that_was_removed_and_leaves_it_open) {
    const Pair pair;
    sockets_->add(pair.near.get(), 1);
    pair.arrive();
    sockets_->remove(pair.near.get());
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    EXPECT_TRUE(pair.receive());
}

TEST_P(ReadySocketsTest, one_that_was_removed_in_the_handler_can_have_a_successor_of_the_same_number) {
    std::optional<Pair> pair(std::in_place);
    const int number = pair->near.get();
    sockets_->add(number, 1);
    pair->arrive();
    action_ = [&](std::uint64_t tag) {
        if (tag != 1) return;
        sockets_->remove(number);
        pair.reset();
        pair.emplace();
        ASSERT_EQ(pair->near.get(), number);
        sockets_->add(number, 2);
    };
    EXPECT_THAT(toldUntil({1}), ElementsAre(1));
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    action_ = [&](std::uint64_t) { EXPECT_TRUE(pair->receive()); };
    pair->arrive();
    EXPECT_THAT(toldUntil({2}), ElementsAre(2));
}

TEST_P(ReadySocketsTest, can_go_while_something_waits) {
    const Pair pair;
    sockets_->add(pair.near.get(), 1);
    pair.arrive();
    sockets_.reset();
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    EXPECT_TRUE(pair.receive());
}

TEST_P(ReadySocketsTest, what_is_no_socket_is_refused) {
    EXPECT_THROW(sockets_->add(-1, 1), std::system_error);
}

}  // namespace
}  // namespace quillbay
