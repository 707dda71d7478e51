#include "platform/EventLoop.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "platform/SocketPair.h"
#include "platform/posix/PlainSocketPoller.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;

/// Writes down what it is told, and then does what it is for.
struct Told final : EventLoop::Watcher {
    std::function<void(SocketEvents)> action = [](SocketEvents) {};
    int times = 0;
    void ready(SocketEvents events) override {
        ++times;
        action(events);
    }
};

struct Way {
    const char* name;
    std::unique_ptr<SocketPoller> (*make)();
};

class EventLoopTest : public ::testing::TestWithParam<Way> {
 protected:
    EventLoop loop_{GetParam().make()};
    std::shared_ptr<Told> told_ = std::make_shared<Told>();

    void turnUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!condition() && std::chrono::steady_clock::now() < end)
            loop_.turn();
        EXPECT_TRUE(condition());
    }
    void turnAFewTimes() {
        for (int i = 0; i < 10; ++i)
            loop_.turn();
    }
};

INSTANTIATE_TEST_SUITE_P(Both, EventLoopTest,
                         ::testing::Values(Way{"system", makeSocketPoller},
                                           Way{"plain", plain::makeSocketPoller}),
                         [](const auto& way) { return way.param.name; });

TEST_P(EventLoopTest, a_wait_is_for_one_event_and_sees_what_is_there_already) {
    const test::SocketPair pair;
    pair.arrive();
    pair.arrive();
    const auto watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    turnUntil([&] { return told_->times == 1; });
    turnAFewTimes();
    EXPECT_EQ(told_->times, 1);
    EXPECT_TRUE(pair.receive());
    loop_.want(watch, SocketEvents::read);
    turnUntil([&] { return told_->times == 2; });
    EXPECT_TRUE(pair.receive());
    loop_.want(watch, SocketEvents::read);
    turnAFewTimes();
    EXPECT_EQ(told_->times, 2);
    loop_.forget(watch);
}

TEST_P(EventLoopTest, a_watcher_that_waits_again_is_told_of_every_datagram) {
    const test::SocketPair pair;
    EventLoop::Watch watch = 0;
    int received = 0;
    told_->action = [&](SocketEvents) {
        received += pair.receive() ? 1 : 0;
        loop_.want(watch, SocketEvents::read);
    };
    watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    for (int i = 0; i < 20; ++i) {
        pair.arrive();
        turnUntil([&] { return received == i + 1; });
    }
    loop_.forget(watch);
}

TEST_P(EventLoopTest, what_is_waited_for_is_added_up_and_told_together) {
    const test::SocketPair pair;
    SocketEvents all = SocketEvents::none;
    told_->action = [&](SocketEvents events) { all = all | events; };
    const auto watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    loop_.want(watch, SocketEvents::write);
    EXPECT_EQ(loop_.wanted(watch), SocketEvents::both);
    turnUntil([&] { return all == SocketEvents::write; });
    EXPECT_EQ(loop_.wanted(watch), SocketEvents::read);
    pair.arrive();
    turnUntil([&] { return all == SocketEvents::both; });
    EXPECT_EQ(loop_.wanted(watch), SocketEvents::none);
    loop_.forget(watch);
}

TEST_P(EventLoopTest, says_nothing_of_one_that_was_forgotten_and_lets_go_of_its_watcher) {
    const test::SocketPair pair;
    const auto watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    pair.arrive();
    EXPECT_EQ(told_.use_count(), 2);
    loop_.forget(watch);
    EXPECT_EQ(told_.use_count(), 1);
    loop_.forget(watch);
    loop_.want(watch, SocketEvents::read);
    EXPECT_EQ(loop_.wanted(watch), SocketEvents::none);
    turnAFewTimes();
    EXPECT_EQ(told_->times, 0);
    EXPECT_TRUE(pair.receive());
}

TEST_P(EventLoopTest, one_that_is_forgotten_by_another_in_the_same_turn_is_not_told) {
    const std::array<test::SocketPair, 2> pairs;
    std::array<EventLoop::Watch, 2> watches{};
    told_->action = [&](SocketEvents) {
        for (const EventLoop::Watch watch : watches)
            loop_.forget(watch);
    };
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        watches.at(i) = loop_.watch(pairs.at(i).near.get(), told_, SocketEvents::read);
        pairs.at(i).arrive();
    }
    turnAFewTimes();
    EXPECT_EQ(told_->times, 1);
}

TEST_P(EventLoopTest, the_place_of_one_that_was_forgotten_is_not_mistaken_for_its_successors) {
    const test::SocketPair first;
    const test::SocketPair second;
    const auto old = loop_.watch(first.near.get(), told_, SocketEvents::read);
    loop_.forget(old);
    const auto watch = loop_.watch(second.near.get(), told_, SocketEvents::read);
    EXPECT_NE(old, watch);
    loop_.forget(old);
    second.arrive();
    turnUntil([&] { return told_->times == 1; });
    loop_.forget(watch);
}

TEST_P(EventLoopTest, a_watcher_may_forget_its_socket_and_be_the_last_to_know_itself) {
    const test::SocketPair pair;
    const std::weak_ptr<Told> held = told_;
    EventLoop::Watch watch = 0;
    int times = 0;
    told_->action = [&](SocketEvents) {
        loop_.forget(watch);
        ++times;
    };
    watch = loop_.watch(pair.near.get(), std::move(told_), SocketEvents::read);
    pair.arrive();
    turnUntil([&] { return times == 1; });
    EXPECT_TRUE(held.expired());
}

TEST_P(EventLoopTest, tasks_keep_the_order_in_which_they_were_posted) {
    std::string order;
    loop_.post([&] {
        order += "a";
        loop_.post([&] { order += "c"; });
    });
    std::thread([&] { loop_.post([&] { order += "b"; }); }).join();
    turnUntil([&] { return order.size() == 3; });
    EXPECT_EQ(order, "abc");
}

TEST_P(EventLoopTest, the_parts_of_a_turn_have_their_order) {
    const test::SocketPair pair;
    std::string order;
    told_->action = [&](SocketEvents) {
        order += "socket ";
        loop_.atEndOfTurn([&] { order += "end "; });
    };
    const auto watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    pair.arrive();
    loop_.startTimer(0ms, [&] { order += "timer "; });
    loop_.post([&] { order += "task "; });
    std::this_thread::sleep_for(1ms);
    turnUntil([&] { return order.find("timer") != std::string::npos; });
    EXPECT_EQ(order, "task socket end timer ");
    loop_.forget(watch);
}

TEST_P(EventLoopTest, timers_run_once_in_the_order_of_their_times_unless_cancelled) {
    std::string order;
    const auto begin = std::chrono::steady_clock::now();
    loop_.startTimer(30ms, [&] { order += "second "; });
    const auto cancelled = loop_.startTimer(20ms, [&] { order += "cancelled "; });
    loop_.startTimer(10ms, [&] {
        order += "first ";
        loop_.cancelTimer(cancelled);
    });
    turnUntil([&] { return order == "first second "; });
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 30ms);
    turnAFewTimes();
    EXPECT_EQ(order, "first second ");
    loop_.cancelTimer(cancelled);
}

TEST_P(EventLoopTest, runs_on_a_thread_that_sleeps_until_something_comes) {
    const test::SocketPair pair;
    std::string order;
    told_->action = [&](SocketEvents) {
        order += "socket ";
        loop_.startTimer(20ms, [&] {
            order += "timer";
            loop_.stop();
        });
    };
    std::thread thread([&] { loop_.run(); });
    loop_.post([&] {
        order += "task ";
        loop_.watch(pair.near.get(), told_, SocketEvents::read);
    });
    std::this_thread::sleep_for(20ms);
    pair.arrive();
    thread.join();
    EXPECT_EQ(order, "task socket timer");
}

TEST_P(EventLoopTest, one_that_has_failed_while_nothing_is_wanted_of_it_lets_the_loop_sleep) {
    const test::SocketPair pair;
    const auto watch = loop_.watch(pair.near.get(), told_, SocketEvents::read);
    EXPECT_EQ(::shutdown(pair.near.get(), SHUT_RDWR), 0);
    const auto processorTime = [] {
        rusage used{};
        ::getrusage(RUSAGE_SELF, &used);
        return std::chrono::seconds(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
               std::chrono::microseconds(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
    };
    const auto before = processorTime();
    loop_.startTimer(500ms, [this] { loop_.stop(); });
    loop_.run();
    EXPECT_LT(processorTime() - before, 100ms);
    EXPECT_EQ(told_->times, 1);
    loop_.forget(watch);
}

TEST_P(EventLoopTest, a_loop_that_was_stopped_runs_nothing_more) {
    int ran = 0;
    loop_.post([&] {
        ++ran;
        loop_.stop();
    });
    loop_.post([&] { ++ran; });
    std::thread([&] { loop_.run(); }).join();
    loop_.post([&] { ++ran; });
    loop_.run();
    EXPECT_EQ(ran, 1);
}

TEST_P(EventLoopTest, what_waits_goes_with_the_loop_and_may_come_back_to_it_meanwhile) {
    /// As a socket's owner does: forgets it at its end.
    struct Owner final : EventLoop::Watcher {
        EventLoop& loop;
        EventLoop::Watch watch = 0;
        explicit Owner(EventLoop& where) : loop(where) {}
        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;
        ~Owner() {
            loop.forget(watch);
            loop.cancelTimer({});
        }
        void ready(SocketEvents /*events*/) override {}
    };
    const test::SocketPair pair;
    const auto owned = std::make_shared<int>();
    auto owner = std::make_shared<Owner>(loop_);
    owner->watch = loop_.watch(pair.near.get(), owner, SocketEvents::read);
    loop_.startTimer(1h, [owned, owner] {});
    loop_.post([owned, owner] {});
    loop_.atEndOfTurn([owned, owner] {});
    const std::weak_ptr<Owner> held = owner;
    owner.reset();
    loop_.clear();
    EXPECT_TRUE(held.expired());
    EXPECT_EQ(owned.use_count(), 1);
}

TEST_P(EventLoopTest, what_is_no_socket_is_refused_and_not_held) {
    EXPECT_THROW(loop_.watch(-1, told_, SocketEvents::read), std::system_error);
    EXPECT_EQ(told_.use_count(), 1);
}

/// Refuses to watch for anything else than at first.
class Stubborn final : public SocketPoller {
 public:
    void add(int /*socket*/, std::uint64_t /*tag*/, SocketEvents /*events*/) override {}
    bool change(int /*socket*/, std::uint64_t /*tag*/, SocketEvents /*events*/) override { return false; }
    void remove(int /*socket*/) override {}
    std::span<const Ready> wait(std::optional<std::chrono::nanoseconds> limit) override {
        EXPECT_TRUE(limit.has_value()) << "would sleep for ever";
        return {};
    }
    void wake() override {}
};

TEST(EventLoopWithoutHelp, a_socket_that_the_system_does_not_watch_is_looked_at_instead) {
    EventLoop loop(std::make_unique<Stubborn>());
    const auto told = std::make_shared<Told>();
    const auto watch = loop.watch(0, told, SocketEvents::read);
    loop.want(watch, SocketEvents::write);
    loop.post([&] { loop.stop(); });
    loop.turn();
    EXPECT_EQ(told->times, 0);  // stopped in the same turn
    EventLoop other(std::make_unique<Stubborn>());
    const auto again = other.watch(0, told, SocketEvents::read);
    other.want(again, SocketEvents::write);
    other.turn();
    EXPECT_EQ(told->times, 1);
    EXPECT_EQ(other.wanted(again), SocketEvents::none);
}

}  // namespace
}  // namespace quillbay
