#include "platform/NetworkThreads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "fakes/ProcessResources.h"
#include "platform/EventLoop.h"

namespace quillbay {
namespace {

using boost::asio::ip::udp;

using NetworkThreadsTest = fakes::LeavesNothingBehind;

std::thread::id threadOf(const SerialQueue& queue) {
    std::thread::id id;
    queue.sync([&] { id = std::this_thread::get_id(); });
    return id;
}

TEST_F(NetworkThreadsTest, a_port_always_has_the_same_loop) {
    NetworkThreads network(3);
    EXPECT_EQ(network.count(), 3U);
    for (const std::uint16_t port : {std::uint16_t{0}, std::uint16_t{49152}, std::uint16_t{65535}}) {
        const SerialQueue first = network.queueFor(port, "first");
        const SerialQueue second = network.queueFor(port, "second");
        EXPECT_EQ(&first.context(), &second.context());
        EXPECT_EQ(&first.context(), &network.contextFor(port));
        EXPECT_EQ(threadOf(first), threadOf(second));
        EXPECT_EQ(second.label(), "second");
    }
}

TEST_F(NetworkThreadsTest, neighbouring_ports_are_spread_over_all_loops) {
    NetworkThreads network(3);
    std::set<std::thread::id> threads;
    for (std::uint16_t port = 49152; port < 49155; ++port)
        threads.insert(threadOf(network.queueFor(port, "")));
    EXPECT_EQ(threads.size(), 3U);
}

TEST_F(NetworkThreadsTest, the_relays_of_a_port_always_have_the_same_loop_and_neighbours_have_others) {
    NetworkThreads network(3);
    std::set<std::thread::id> threads;
    for (std::uint16_t port = 49152; port < 49155; ++port) {
        EventLoop& loop = network.relayLoopFor(port);
        EXPECT_EQ(&loop, &network.relayLoopFor(static_cast<std::uint16_t>(port + 3)));
        std::promise<std::thread::id> thread;
        loop.post([&] { thread.set_value(std::this_thread::get_id()); });
        threads.insert(thread.get_future().get());
    }
    EXPECT_EQ(threads.size(), 3U);
}

TEST_F(NetworkThreadsTest, what_a_relay_loop_was_to_do_goes_when_the_threads_do) {
    const auto owned = std::make_shared<int>();
    std::atomic<bool> ran = false;
    {
        NetworkThreads network(1);
        const SerialQueue queue = network.queueFor(0, "");
        network.stop();
        // What waits on one kind of loop may own what belongs to the other.
        network.relayLoopFor(0).post([&ran, owned, queue] { ran = true; });
        EXPECT_EQ(owned.use_count(), 2);
    }
    EXPECT_EQ(owned.use_count(), 1);
    EXPECT_FALSE(ran);
}

TEST_F(NetworkThreadsTest, has_a_thread_per_core_by_default) {
    const NetworkThreads network;
    EXPECT_EQ(network.count(), std::max(1U, std::thread::hardware_concurrency()));
}

TEST_F(NetworkThreadsTest, two_queues_of_a_port_keep_one_order) {
    NetworkThreads network(2);
    const SerialQueue tcp = network.queueFor(50000, "tcp");
    const SerialQueue udp = network.queueFor(50000, "udp");
    std::vector<int> order;
    std::vector<int> expected;
    for (int i = 0; i < 500; ++i) {
        (i % 2 == 0 ? tcp : udp).post([&order, i] { order.push_back(i); });
        expected.push_back(i);
    }
    network.drain();
    EXPECT_EQ(order, expected);
}

TEST_F(NetworkThreadsTest, drops_pending_operations_when_it_ends) {
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = captured;
    std::atomic<int> calls = 0;
    {
        NetworkThreads network(2);
        auto socket = std::make_shared<udp::socket>(network.contextFor(1), udp::endpoint(udp::v4(), 0));
        auto buffer = std::make_shared<char>();
        boost::asio::post(network.contextFor(1), [&calls, socket, buffer, captured] {
            socket->async_receive(boost::asio::buffer(buffer.get(), 1),
                                  [&calls, socket, buffer, captured](const boost::system::error_code&,
                                                                     std::size_t) { ++calls; });
        });
        captured.reset();
        network.drain();
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(calls, 0);
}

TEST_F(NetworkThreadsTest, what_waits_on_one_loop_may_own_sockets_of_the_others) {
    NetworkThreads network(2);
    std::vector<std::shared_ptr<udp::socket>> sockets;
    for (std::uint16_t port = 0; port < 2; ++port)
        sockets.push_back(
            std::make_shared<udp::socket>(network.contextFor(port), udp::endpoint(udp::v4(), 0)));
    network.stop();
    for (std::uint16_t port = 0; port < 2; ++port)
        boost::asio::post(network.contextFor(port), [sockets] {});
    sockets.clear();
}

TEST_F(NetworkThreadsTest, sockets_may_be_destroyed_after_the_threads_have_been_stopped) {
    NetworkThreads network(1);
    std::optional<udp::socket> socket(std::in_place, network.contextFor(0), udp::endpoint(udp::v4(), 0));
    std::atomic<bool> ran = false;
    network.stop();
    network.stop();
    network.queueFor(0, "late").post([&] { ran = true; });
    socket.reset();
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace quillbay
