// The monitor on a real network of its own, whose addresses come and go.

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "discovery/InterfaceMonitor.h"
#include "fakes/NetworkNamespace.h"
#include "platform/AsioMainQueue.h"

namespace quillbay {
namespace {

using Address = std::optional<std::string>;

/// What the monitor reported, for a thread that waits for it.
class Changes {
 public:
    void add(Address address) {
        const std::lock_guard lock(mutex_);
        all_.push_back(std::move(address));
        changed_.notify_all();
    }
    /// All changes, once there are so many.
    std::vector<Address> await(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return all_.size() >= count; });
        return all_;
    }

 private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Address> all_;
};

TEST(InterfaceMonitorNetwork, reports_a_real_interface_as_its_addresses_come_and_go) {
    fakes::inNetworkNamespace([] {
        // Names that only begin like the one wanted, and an address of another family, must not be taken for
        // it.
        fakes::makeInterface("en", "10.77.0.1/24");
        fakes::makeInterface("en0x", "10.77.1.1/24");
        fakes::makeInterface("en0", "");
        fakes::shell("ip addr add fd00:77::1/64 dev en0");
        AsioMainQueue mainQueue;
        NetworkThreads network(1);
        BackgroundWork background;
        SystemClock clock;
        SystemRandomSource random;
        const Host host{mainQueue, network, background, clock, random, {}, {}};
        Changes changes;
        InterfaceMonitor monitor(host);
        monitor.onChange = [&](Address address) { changes.add(std::move(address)); };
        monitor.start();
        network.drain();

        fakes::shell("ip addr add 192.168.77.1/24 dev en0");
        EXPECT_EQ(changes.await(1), std::vector<Address>{"192.168.77.1"});
        fakes::shell("ip addr add 192.168.78.1/24 dev en0 && ip link set en0x down");
        fakes::shell("ip addr del 192.168.77.1/24 dev en0");
        EXPECT_EQ(changes.await(2), (std::vector<Address>{"192.168.77.1", "192.168.78.1"}));
        fakes::shell("ip addr del 192.168.78.1/24 dev en0");
        EXPECT_EQ(changes.await(3), (std::vector<Address>{"192.168.77.1", "192.168.78.1", std::nullopt}));
        fakes::shell("ip addr add 192.168.78.1/24 dev en0");
        EXPECT_EQ(changes.await(4),
                  (std::vector<Address>{"192.168.77.1", "192.168.78.1", std::nullopt, "192.168.78.1"}));
    });
}

}  // namespace
}  // namespace quillbay
