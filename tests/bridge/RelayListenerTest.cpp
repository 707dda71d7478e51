// What both kinds of relay do in the same way: how they start, fail and stop.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <system_error>
#include <type_traits>

#include "bridge/RelayBindError.h"
#include "bridge/RelayListener.h"
#include "bridge/RelayTestTools.h"
#include "bridge/TCPRelay.h"
#include "bridge/UDPRelay.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::eventually;

template <typename Relay>
class RelayListenerTest : public test::RelayTest {
 protected:
    static constexpr bool tcp = std::is_same_v<Relay, TCPRelay>;

    std::unique_ptr<Relay> relayOn(std::uint16_t port, const std::string& address = "127.0.0.1") {
        return std::make_unique<Relay>(*network, address, port, "127.0.0.1", 1);
    }
    std::unique_ptr<Relay> startedRelay() {
        auto relay = relayOn(0);
        relay->startBlocking(2s);
        return relay;
    }
    static UniqueDescriptor takenPort() { return tcp ? listenTCP("127.0.0.1", 0) : bindUDP("127.0.0.1", 0); }
    /// What the relay reports next.
    static std::future<std::string> reportOf(Relay& relay) {
        auto reported = std::make_shared<std::promise<std::string>>();
        relay.onError = [reported](const std::exception_ptr& error) {
            reported->set_value(printedError(error));
        };
        return reported->get_future();
    }
    static std::string wait(std::future<std::string> report) {
        const bool came = report.wait_for(test::patience) == std::future_status::ready;
        return came ? report.get() : "no report";
    }
};

using Relays = ::testing::Types<TCPRelay, UDPRelay>;
TYPED_TEST_SUITE(RelayListenerTest, Relays);

TYPED_TEST(RelayListenerTest, start_throws_for_an_address_that_is_none) {
    const auto relay = this->relayOn(0, "en0");
    EXPECT_THROW(relay->start(), std::system_error);
    EXPECT_THROW(relay->startBlocking(2s), std::system_error);
}

TYPED_TEST(RelayListenerTest, blocking_start_throws_address_in_use_when_the_port_is_taken) {
    const UniqueDescriptor taken = this->takenPort();
    const auto relay = this->relayOn(boundPort(taken.get()));
    try {
        relay->startBlocking(2s);
        FAIL() << "started";
    } catch (const std::system_error& error) {
        EXPECT_EQ(printedError(error), "POSIXErrorCode(rawValue: 98): Address already in use");
    }
    EXPECT_EQ(relay->boundPort(), 0);
}

TYPED_TEST(RelayListenerTest, start_reports_a_taken_port_through_onError) {
    const UniqueDescriptor taken = this->takenPort();
    const auto relay = this->relayOn(boundPort(taken.get()));
    auto report = this->reportOf(*relay);
    relay->start();
    EXPECT_EQ(this->wait(std::move(report)), "POSIXErrorCode(rawValue: 98): Address already in use");
}

TYPED_TEST(RelayListenerTest, blocking_start_times_out_and_stores_nothing_when_the_listener_is_not_ready) {
    const auto relay = this->relayOn(0);
    const std::size_t before = test::openDescriptors();
    {
        const test::BlockedLoop blocked(this->network->relayLoopFor(0));
        try {
            relay->startBlocking(50ms);
            ADD_FAILURE() << "started";
        } catch (const RelayBindError& error) {
            EXPECT_EQ(printedError(error), "timedOut");
        }
    }
    this->network->drain();
    EXPECT_EQ(relay->boundPort(), 0);
    EXPECT_EQ(test::openDescriptors(), before);
}

TYPED_TEST(RelayListenerTest, reports_a_listener_that_fails_after_it_was_up_and_rests) {
    const auto relay = this->startedRelay();
    auto report = this->reportOf(*relay);
    ASSERT_EQ(test::breakListeners(relay->boundPort()), 1);
    EXPECT_EQ(this->wait(std::move(report)),
              this->tcp ? "POSIXErrorCode(rawValue: 22): Invalid argument"
                        : "POSIXErrorCode(rawValue: 108): Cannot send after transport endpoint shutdown");
    EXPECT_EQ(relay->boundPort(), 0);
}

TYPED_TEST(RelayListenerTest, stop_is_harmless_before_a_start_and_twice) {
    const auto relay = this->relayOn(0);
    relay->stop();
    relay->stop();
    this->network->drain();
    EXPECT_EQ(relay->connectionCount(), 0U);
    EXPECT_EQ(relay->boundPort(), 0);
}

TYPED_TEST(RelayListenerTest, stop_is_harmless_twice_after_a_start) {
    const std::size_t before = test::openDescriptors();
    const auto relay = this->startedRelay();
    EXPECT_NE(relay->boundPort(), 0);
    relay->stop();
    this->network->drain();
    EXPECT_EQ(test::openDescriptors(), before);
    relay->stop();
    this->network->drain();
    EXPECT_EQ(relay->connectionCount(), 0U);
    EXPECT_EQ(relay->boundPort(), 0);
}

TYPED_TEST(RelayListenerTest, a_start_that_is_stopped_before_it_happens_does_not_happen) {
    const auto relay = this->relayOn(0);
    const std::size_t before = test::openDescriptors();
    {
        const test::BlockedLoop blocked(this->network->relayLoopFor(0));
        relay->start();
        relay->stop();
    }
    this->network->drain();
    EXPECT_EQ(relay->boundPort(), 0);
    EXPECT_EQ(test::openDescriptors(), before);
}

TYPED_TEST(RelayListenerTest, blocking_start_after_stop_fails_at_once) {
    const auto relay = this->relayOn(0);
    relay->stop();
    // At once also means without the loop.
    const test::BlockedLoop blocked(this->network->relayLoopFor(0));
    const auto begin = std::chrono::steady_clock::now();
    try {
        relay->startBlocking(test::patience);
        ADD_FAILURE() << "started";
    } catch (const std::system_error& error) {
        EXPECT_EQ(printedError(error), "POSIXErrorCode(rawValue: 125): Operation canceled");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, test::patience);
}

TYPED_TEST(RelayListenerTest, blocking_start_that_is_stopped_while_it_waits_fails_without_the_time_out) {
    const auto relay = this->relayOn(0);
    std::atomic<pid_t> thread = 0;
    std::future<void> start;
    {
        const test::BlockedLoop blocked(this->network->relayLoopFor(0));
        start = std::async(std::launch::async, [&] {
            thread = ::gettid();
            relay->startBlocking(3 * test::patience);
        });
        EXPECT_TRUE(eventually([&] { return thread != 0 && test::isAsleep(thread); }));
        relay->stop();
    }
    ASSERT_EQ(start.wait_for(test::patience), std::future_status::ready);
    EXPECT_THROW(start.get(), std::system_error);
    EXPECT_EQ(relay->boundPort(), 0);
}

TYPED_TEST(RelayListenerTest, stop_waits_for_a_report_that_is_under_way) {
    const auto relay = this->startedRelay();
    std::promise<void> begun;
    std::atomic<bool> stopReturned = false;
    std::atomic<bool> outlasted = false;
    relay->onError = [&](const std::exception_ptr&) {
        begun.set_value();
        outlasted = eventually([&] { return stopReturned.load(); }, 200ms);
    };
    ASSERT_EQ(test::breakListeners(relay->boundPort()), 1);
    ASSERT_EQ(begun.get_future().wait_for(test::patience), std::future_status::ready);
    relay->stop();
    stopReturned = true;
    this->network->drain();
    EXPECT_FALSE(outlasted);
}

TYPED_TEST(RelayListenerTest, reports_nothing_after_stop_or_when_it_was_dropped) {
    for (int i = 0; i < 200; ++i) {
        std::atomic<bool> over = false;
        std::atomic<int> late = 0;
        auto relay = this->startedRelay();
        relay->onError = [&](const std::exception_ptr&) { late += over ? 1 : 0; };
        // The failure and the end are noticed on different threads, in either order.
        ASSERT_EQ(test::breakListeners(relay->boundPort()), 1);
        if (i % 2 == 0) relay->stop();
        if (i % 2 == 1) relay.reset();
        over = true;
        this->network->drain();
        EXPECT_EQ(late, 0);
    }
}

TYPED_TEST(RelayListenerTest, may_be_stopped_and_dropped_in_its_own_report) {
    auto relay = this->startedRelay();
    const std::uint16_t port = relay->boundPort();
    std::promise<void> done;
    relay->onError = [&](const std::exception_ptr&) {
        relay->stop();
        relay.reset();
        done.set_value();
    };
    ASSERT_EQ(test::breakListeners(port), 1);
    ASSERT_EQ(done.get_future().wait_for(test::patience), std::future_status::ready);
    this->network->drain();
    EXPECT_EQ(relay, nullptr);
}

namespace {

/// A listener that fails when the test says so.
class FailingListener final : public RelayListener {
 public:
    using RelayListener::RelayListener;
    void failNow() { fail(std::make_exception_ptr(systemError(ENETDOWN))); }

 private:
    UniqueDescriptor open(const std::string& address, std::uint16_t port) override {
        return bindUDP(address, port);
    }
    void serve() override {}
    void cancelConnections() override {}
    void forgetConnections() override {}
    void endRefusedConnections() override {}
};

}  // namespace

class StoppedListener : public ::testing::TestWithParam<void (RelayListener::*)()> {};

TEST_P(StoppedListener, that_fails_before_its_loop_has_closed_it_reports_nothing) {
    EventLoop loop;
    RelayErrorCallback onError;
    std::string reports;
    onError = [&](const std::exception_ptr& error) { reports += printedError(error) + ";"; };
    const auto listener = std::make_shared<FailingListener>(loop, "127.0.0.1", std::uint16_t{0}, onError);
    listener->start();
    loop.turn();
    listener->failNow();
    EXPECT_EQ(reports, "POSIXErrorCode(rawValue: 100): Network is down;");
    (listener.get()->*GetParam())();
    listener->failNow();
    EXPECT_EQ(reports, "POSIXErrorCode(rawValue: 100): Network is down;");
}

INSTANTIATE_TEST_SUITE_P(either, StoppedListener,
                         ::testing::Values(&RelayListener::stop, &RelayListener::abandon));

}  // namespace quillbay
