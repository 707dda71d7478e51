#pragma once

#include <gtest/gtest.h>

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bridge/HostAddresses.h"
#include "bridge/ProbeAttempt.h"
#include "bridge/RemotePairingProbe.h"
#include "fakes/Leaks.h"
#include "platform/NetworkThreads.h"
#include "platform/RandomSource.h"
#include "platform/SerialQueue.h"

namespace quillbay::fakes {

using std::chrono::milliseconds;

/// The probe on two network threads. Every test ends with the descriptors that it began with.
class ProbeFixture : public testing::Test {
 protected:
    void SetUp() override {
        descriptors_ = openDescriptors();
        network_.emplace(2);
        // A loop opens its own descriptors for its first timer; some tests leave it none.
        for (std::uint16_t loop = 0; loop < 2; ++loop)
            boost::asio::steady_timer(network_->contextFor(loop));
        probe_.emplace(*network_, random_);
    }
    void TearDown() override {
        network_->drain();
        probe_.reset();
        network_.reset();
        EXPECT_EQ(openDescriptors(), descriptors_);
    }

    /// Waits for a condition, with a bound that only a failure reaches.
    static bool eventually(const std::function<bool()>& condition) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > limit) return false;
            std::this_thread::sleep_for(milliseconds(1));
        }
        return true;
    }

    /// The outcome of one probe of a host that has all these addresses, in this order.
    ProbeAttempt::Outcome askAll(NetworkThreads& network, const std::vector<std::string>& hosts,
                                 std::uint16_t port, milliseconds limit = milliseconds(5000)) {
        std::vector<HostAddress> addresses;
        for (const std::string& host : hosts) {
            const auto found = resolveHost(host);
            addresses.insert(addresses.end(), found.begin(), found.end());
        }
        EXPECT_EQ(addresses.size(), hosts.size());
        const ProbeAttempt::Question question{
            std::make_shared<const std::vector<HostAddress>>(std::move(addresses)), port, 19, limit, limit};
        std::promise<ProbeAttempt::Outcome> outcome;
        auto& loop = network.contextFor(0);
        SerialQueue("test", loop).post([&] {
            const auto done = [&](ProbeAttempt::Outcome value) { outcome.set_value(value); };
            std::make_shared<ProbeAttempt>(loop, random_, question, done)->start();
        });
        return outcome.get_future().get();
    }

    static milliseconds took(const std::function<void()>& work) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
    }

    std::size_t descriptors_ = 0;
    SystemRandomSource random_;
    std::optional<NetworkThreads> network_;
    std::optional<RemotePairingProbe> probe_;
};

}  // namespace quillbay::fakes
