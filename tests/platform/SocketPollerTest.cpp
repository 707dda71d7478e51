#include "platform/SocketPoller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "platform/SocketPair.h"
#include "platform/Sockets.h"
#include "platform/posix/PlainSocketPoller.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Told = std::map<std::uint64_t, SocketEvents>;

/// The two that must do the same.
struct Way {
    const char* name;
    std::unique_ptr<SocketPoller> (*make)();
};

class SocketPollerTest : public ::testing::TestWithParam<Way> {
 protected:
    std::unique_ptr<SocketPoller> poller_ = GetParam().make();

    Told toldWithin(std::chrono::nanoseconds limit) {
        Told told;
        for (const SocketPoller::Ready& ready : poller_->wait(limit))
            told[ready.tag] = told[ready.tag] | ready.events;
        return told;
    }
    /// What is told by waits that need no waiting.
    Told toldAtOnce() {
        Told all;
        for (int turn = 0; turn < 5; ++turn)
            for (const auto& [tag, events] : toldWithin(0ns))
                all[tag] = all[tag] | events;
        return all;
    }
};

INSTANTIATE_TEST_SUITE_P(Both, SocketPollerTest,
                         ::testing::Values(Way{"system", makeSocketPoller},
                                           Way{"plain", plain::makeSocketPoller}),
                         [](const auto& way) { return way.param.name; });

TEST_P(SocketPollerTest, tells_of_those_that_have_something_and_of_no_other) {
    const std::array<test::SocketPair, 3> pairs;
    for (std::size_t i = 0; i < pairs.size(); ++i)
        poller_->add(pairs[i].near.get(), i, SocketEvents::read);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    pairs[0].arrive();
    pairs[2].arrive();
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(0, SocketEvents::read), Pair(2, SocketEvents::read)));
    EXPECT_TRUE(pairs[0].receive());
    EXPECT_TRUE(pairs[2].receive());
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    pairs[1].arrive();
    EXPECT_THAT(toldWithin(10s), UnorderedElementsAre(Pair(1, SocketEvents::read)));
}

TEST_P(SocketPollerTest, tells_again_until_nothing_is_left) {
    const test::SocketPair pair;
    poller_->add(pair.near.get(), 7, SocketEvents::read);
    for (int i = 0; i < 5; ++i)
        pair.arrive();
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(7, SocketEvents::read)));
        EXPECT_TRUE(pair.receive());
    }
    EXPECT_THAT(toldAtOnce(), IsEmpty());
}

TEST_P(SocketPollerTest, tells_of_more_than_fit_one_wait) {
    const std::vector<test::SocketPair> pairs(200);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        poller_->add(pairs[i].near.get(), i, SocketEvents::read);
        pairs[i].arrive();
    }
    for (std::size_t left = pairs.size(); left > 0;) {
        const Told told = toldWithin(0ns);
        ASSERT_THAT(told, testing::Not(IsEmpty()));
        for (const auto& [tag, events] : told)
            EXPECT_TRUE(pairs.at(tag).receive());
        left -= told.size();
    }
    EXPECT_THAT(toldAtOnce(), IsEmpty());
}

TEST_P(SocketPollerTest, tells_of_what_it_was_last_asked_for) {
    const test::SocketPair pair;
    poller_->add(pair.near.get(), 1, SocketEvents::write);
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(1, SocketEvents::write)));
    pair.arrive();
    EXPECT_TRUE(poller_->change(pair.near.get(), 1, SocketEvents::both));
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(1, SocketEvents::both)));
    EXPECT_TRUE(poller_->change(pair.near.get(), 1, SocketEvents::read));
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(1, SocketEvents::read)));
    EXPECT_TRUE(poller_->change(pair.near.get(), 1, SocketEvents::none));
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    EXPECT_TRUE(poller_->change(pair.near.get(), 1, SocketEvents::read));
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(1, SocketEvents::read)));
}

TEST_P(SocketPollerTest, one_that_failed_or_was_shut_down_has_something_to_read) {
    test::SocketPair failed;
    const test::SocketPair shut;
    poller_->add(failed.near.get(), 1, SocketEvents::read);
    poller_->add(shut.near.get(), 2, SocketEvents::read);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    failed.far.reset();
    EXPECT_EQ(::send(failed.near.get(), "x", 1, 0), 1);
    Told told = toldWithin(10s);
    EXPECT_EQ(told.count(1), 1U);
    EXPECT_EQ(told[1] & SocketEvents::read, SocketEvents::read);
    EXPECT_FALSE(failed.receive());  // which takes the error away
    EXPECT_EQ(::shutdown(shut.near.get(), SHUT_RDWR), 0);
    told = toldWithin(10s);
    EXPECT_EQ(told[2] & SocketEvents::read, SocketEvents::read);
}

TEST_P(SocketPollerTest, a_failure_that_nobody_asks_for_is_not_told_over_and_over) {
    const test::SocketPair pair;
    poller_->add(pair.near.get(), 1, SocketEvents::none);
    EXPECT_EQ(::shutdown(pair.near.get(), SHUT_RDWR), 0);
    for (int turn = 0; turn < 3; ++turn)
        toldWithin(0ns);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
}

TEST_P(SocketPollerTest, a_closed_socket_is_forgotten_and_can_have_a_successor_of_the_same_number) {
    std::optional<test::SocketPair> pair(std::in_place);
    const int number = pair->near.get();
    poller_->add(number, 1, SocketEvents::read);
    pair->arrive();
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(1, SocketEvents::read)));
    poller_->remove(number);
    pair.reset();
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    pair.emplace();
    ASSERT_EQ(pair->near.get(), number);
    poller_->add(number, 2, SocketEvents::read);
    EXPECT_THAT(toldAtOnce(), IsEmpty());
    pair->arrive();
    EXPECT_THAT(toldAtOnce(), UnorderedElementsAre(Pair(2, SocketEvents::read)));
}

TEST_P(SocketPollerTest, leaves_the_sockets_open_when_it_goes) {
    const test::SocketPair pair;
    poller_->add(pair.near.get(), 1, SocketEvents::read);
    pair.arrive();
    poller_.reset();
    EXPECT_TRUE(pair.receive());
}

TEST_P(SocketPollerTest, waits_as_long_as_it_may_and_no_longer) {
    for (const std::chrono::microseconds limit : {50'000us, 1'900us}) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_THAT(toldWithin(limit), IsEmpty());
        EXPECT_GE(std::chrono::steady_clock::now() - begin, limit);
    }
}

TEST_P(SocketPollerTest, can_be_woken_by_another_thread_and_before_it_waits) {
    poller_->wake();
    EXPECT_THAT(poller_->wait(std::nullopt), IsEmpty());
    std::thread other([this] {
        std::this_thread::sleep_for(20ms);
        poller_->wake();
    });
    EXPECT_THAT(poller_->wait(std::nullopt), IsEmpty());
    other.join();
}

TEST_P(SocketPollerTest, what_is_no_socket_is_refused) {
    EXPECT_THROW(poller_->add(-1, 1, SocketEvents::read), std::system_error);
    EXPECT_FALSE(poller_->change(-1, 1, SocketEvents::read));
}

}  // namespace
}  // namespace quillbay
