#include "platform/InterfaceChanges.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <sstream>

#include "platform/Files.h"
#include "platform/ForkedChild.h"
#include "platform/NetworkInterfaces.h"

namespace quillbay {
namespace {

constexpr auto limit = std::chrono::seconds(20);

/// Looks at the network at every prompt, as the owner of an InterfaceChanges does.
class Observer {
 public:
    void look() {
        const std::lock_guard lock(mutex_);
        ++prompts_;
        seen_ = localInterfaceName() + " " + currentIPv4Address(localInterfaceName()).value_or("none");
        changed_.notify_all();
    }

    /// Waits until a prompt has shown `expected`.
    bool sees(const std::string& expected) {
        std::unique_lock lock(mutex_);
        const bool seen = changed_.wait_for(lock, limit, [&] { return prompts_ > 0 && seen_ == expected; });
        EXPECT_EQ(seen_, expected);
        return seen;
    }

    int prompts() {
        const std::lock_guard lock(mutex_);
        return prompts_;
    }

 private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int prompts_ = 0;
    std::string seen_;
};

void withObserver(const std::function<void(Observer&, const SerialQueue&)>& body) {
    inChild([&body] {
        enterNamespaces(CLONE_NEWNET);
        Observer observer;
        const SerialQueue queue = SerialQueue::withOwnThread("changes");
        const InterfaceChanges changes(queue, [&observer] { observer.look(); });
        body(observer, queue);
    });
}

/// True once the queue has run idle many times over without another prompt.
bool becomesQuiet(Observer& observer, const SerialQueue& queue) {
    constexpr int enough = 2'000;
    int quiet = 0;
    int last = observer.prompts();
    for (int round = 0; round < 100 * enough && quiet < enough; ++round) {
        queue.sync([] {});
        const int now = observer.prompts();
        quiet = now == last ? quiet + 1 : 0;
        last = now;
    }
    return quiet == enough;
}

/// How many messages the system could not deliver to netlink sockets of this network.
long lostMessages() {
    std::istringstream table(readFile("/proc/self/net/netlink", std::size_t{1} << 20U).value_or(""));
    std::string line;
    std::getline(table, line);  // sk Eth Pid Groups Rmem Wmem Dump Locks Drops Inode
    long lost = 0;
    while (std::getline(table, line)) {
        std::istringstream columns(line);
        std::string column;
        for (int skipped = 0; skipped < 8; ++skipped)
            columns >> column;
        long drops = 0;
        columns >> drops;
        lost += drops;
    }
    return lost;
}

TEST(InterfaceChanges, prompts_once_without_any_change) {
    withObserver([](Observer& observer, const SerialQueue& queue) {
        EXPECT_TRUE(observer.sees("en0 none"));
        EXPECT_TRUE(becomesQuiet(observer, queue));
        EXPECT_EQ(observer.prompts(), 1);
    });
}

TEST(InterfaceChanges, prompts_for_each_change_of_an_address) {
    withObserver([](Observer& observer, const SerialQueue&) {
        EXPECT_TRUE(observer.sees("en0 none"));
        addInterface("en0");
        shell("ip addr add 192.168.77.1/24 dev en0");
        EXPECT_TRUE(observer.sees("en0 192.168.77.1"));
        shell("ip addr del 192.168.77.1/24 dev en0 && ip addr add 192.168.77.9/24 dev en0");
        EXPECT_TRUE(observer.sees("en0 192.168.77.9"));
        shell("ip addr del 192.168.77.9/24 dev en0");
        EXPECT_TRUE(observer.sees("en0 none"));
        shell("ip addr add 192.168.77.9/24 dev en0");
        EXPECT_TRUE(observer.sees("en0 192.168.77.9"));
        shell("ip link del en0");
        EXPECT_TRUE(observer.sees("en0 none"));
    });
}

TEST(InterfaceChanges, prompts_for_each_change_of_a_route_or_link) {
    withObserver([](Observer& observer, const SerialQueue&) {
        addInterface("wifi");
        shell("ip addr add 10.0.0.1/24 dev wifi && ip link set wifi up");
        addInterface("cable");
        shell("ip addr add 10.0.1.1/24 dev cable && ip link set cable up");
        shell("ip route add default dev wifi metric 600");
        EXPECT_TRUE(observer.sees("wifi 10.0.0.1"));
        shell("ip route add default dev cable metric 100");
        EXPECT_TRUE(observer.sees("cable 10.0.1.1"));
        shell("ip link set cable down");
        EXPECT_TRUE(observer.sees("wifi 10.0.0.1"));
        addInterface("en0");
        EXPECT_TRUE(observer.sees("en0 none"));
        shell("ip link del en0");
        EXPECT_TRUE(observer.sees("wifi 10.0.0.1"));
        shell("ip route del default");
        EXPECT_TRUE(observer.sees("en0 none"));
    });
}

TEST(InterfaceChanges, prompts_and_rests_after_events_were_lost) {
    withObserver([](Observer& observer, const SerialQueue& queue) {
        addInterface("en0");
        EXPECT_TRUE(observer.sees("en0 none"));
        EXPECT_TRUE(becomesQuiet(observer, queue));

        std::promise<void> release;
        queue.post([&release] { release.get_future().wait(); });
        shell(
            "i=0; while [ $i -lt 1500 ]; do echo addr add 10.0.0.1/24 dev en0; echo addr del 10.0.0.1/24 dev "
            "en0;"
            " i=$((i+1)); done | ip -batch - && ip addr add 192.168.77.1/24 dev en0");
        EXPECT_GT(lostMessages(), 0);
        release.set_value();
        EXPECT_TRUE(observer.sees("en0 192.168.77.1"));
        EXPECT_TRUE(becomesQuiet(observer, queue));

        shell("ip addr del 192.168.77.1/24 dev en0");
        EXPECT_TRUE(observer.sees("en0 none"));
    });
}

TEST(InterfaceChanges, prompts_no_more_after_its_destruction_on_the_queue) {
    inChild([] {
        enterNamespaces(CLONE_NEWNET);
        Observer observer;
        const SerialQueue queue = SerialQueue::withOwnThread("changes");
        auto changes = std::make_unique<InterfaceChanges>(queue, [&observer] { observer.look(); });
        EXPECT_TRUE(observer.sees("en0 none"));
        int prompts = 0;
        queue.sync([&] {
            addInterface("en0");  // reported already when the owner goes
            changes.reset();
            prompts = observer.prompts();
        });
        shell("ip addr add 192.168.77.1/24 dev en0");
        EXPECT_TRUE(becomesQuiet(observer, queue));
        EXPECT_EQ(observer.prompts(), prompts);
    });
}

TEST(InterfaceChanges, may_be_destroyed_by_its_own_prompt) {
    inChild([] {
        enterNamespaces(CLONE_NEWNET);
        const SerialQueue queue = SerialQueue::withOwnThread("changes");
        std::unique_ptr<InterfaceChanges> changes;
        std::promise<void> destroyed;
        queue.sync([&] {
            changes = std::make_unique<InterfaceChanges>(queue, [&] {
                changes.reset();
                destroyed.set_value();  // a second prompt would throw here
            });
        });
        EXPECT_EQ(destroyed.get_future().wait_for(limit), std::future_status::ready);
        addInterface("en0");
        for (int round = 0; round < 100; ++round)
            queue.sync([] {});
    });
}

TEST(InterfaceChanges, may_be_destroyed_on_another_thread_at_any_moment) {
    inChild([] {
        enterNamespaces(CLONE_NEWNET);
        addInterface("en0");
        const std::size_t before = openDescriptors();
        {
            std::atomic<int> prompts = 0;
            const SerialQueue queue = SerialQueue::withOwnThread("changes");
            for (int round = 0; round < 300; ++round) {
                const InterfaceChanges changes(queue, [&prompts] { ++prompts; });
                if (round % 100 == 0) shell("ip link set en0 up && ip link set en0 down");
            }
            queue.sync([] {});
        }
        EXPECT_EQ(openDescriptors(), before);
    });
}

TEST(InterfaceChanges, keeps_nothing_when_its_queue_ends_first_in_line) {
    inChild([] {
        const std::size_t before = openDescriptors();
        for (int round = 0; round < 20; ++round) {
            const SerialQueue queue = SerialQueue::withOwnThread("changes");
            const InterfaceChanges changes(queue, [] {});
        }
        EXPECT_EQ(openDescriptors(), before);
    });
}

}  // namespace
}  // namespace quillbay
