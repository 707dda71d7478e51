// What relays cost and how they behave when the system has no descriptors to give.
#include <sys/resource.h>
#include <sys/socket.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include "bridge/RelayTestTools.h"
#include "bridge/TCPRelay.h"
#include "bridge/UDPRelay.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::eventually;
using test::Peer;
using test::PhoneService;

namespace {

/// How often each thread of this process but the calling one gave its processor up by itself.
std::map<std::string, long> voluntarySwitches() {
    std::map<std::string, long> switches;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string name;
        std::string word;
        long count = -1;
        while (status >> word) {
            if (word == "Name:") status >> name;
            if (word == "voluntary_ctxt_switches:") status >> count;
        }
        if (name.starts_with("relay-") || name.starts_with("network-"))
            switches[task.path().filename()] = count;
    }
    return switches;
}

void limitDescriptors(std::size_t count) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = count;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

bool echoes(const Peer& client, const Peer& server) {
    return client.send("ping") && server.receive(4) == "ping" && server.send("pong") &&
           client.receive(4) == "pong";
}

std::size_t lowestFree() {
    const UniqueDescriptor probe(::dup(0));
    return static_cast<std::size_t>(probe.get());
}

/// Runs `shortage` on network threads, and looks whether it gave every descriptor back.
std::string shortageThatLeavesNothing(const std::function<std::string(NetworkThreads&)>& shortage) {
    NetworkThreads network(2);
    const std::size_t before = test::openDescriptors();
    const std::string wrong = shortage(network);
    if (!wrong.empty()) return wrong;
    if (eventually([before] { return test::openDescriptors() == before; })) return "";
    return std::to_string(test::openDescriptors()) + " descriptors now, " + std::to_string(before) +
           " before";
}

std::string tcpShortage(NetworkThreads& network) {
    const PhoneService phone;
    TCPRelay relay(network, "127.0.0.1", 0, "127.0.0.1", phone.port());
    relay.startBlocking(2s);
    const Peer liveClient = Peer::tcpTo(relay.boundPort());
    const Peer liveServer = phone.accept();
    if (!echoes(liveClient, liveServer)) return "no live pair";
    std::vector<UniqueDescriptor> waiting;
    for (int i = 0; i < 8; ++i)
        waiting.emplace_back(::socket(AF_INET, SOCK_STREAM, 0));
    // One more than there is: the first client is accepted but cannot have a connection to the phone.
    limitDescriptors(lowestFree() + 1);
    const sockaddr_in address = ipv4Endpoint("127.0.0.1", relay.boundPort());
    for (const UniqueDescriptor& client : waiting) {
        if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            return "connect";
        if (::send(client.get(), "late", 4, 0) != 4) return "send";
    }
    if (!eventually([] { return !UniqueDescriptor(::dup(0)).valid(); })) return "there was no shortage";
    const auto used = test::processorTime();
    std::this_thread::sleep_for(1s);
    if (test::processorTime() - used > 100ms) return "it spins";
    if (!echoes(liveClient, liveServer)) return "the live pair was disturbed";
    if (relay.activeConnectionCount() != 1) return "a client was counted that has no partner";
    limitDescriptors(1024);
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        const Peer served = phone.accept();
        if (served.receive(4) != "late") return "a client was lost";
    }
    return echoes(liveClient, liveServer) ? "" : "the live pair was disturbed later";
}

std::string udpShortage(NetworkThreads& network) {
    const Peer phone = Peer::udpBound();
    UDPRelay relay(network, "127.0.0.1", 0, "127.0.0.1", phone.localPort());
    relay.startBlocking(2s);
    const Peer live = Peer::udpTo(relay.boundPort());
    const Peer late = Peer::udpTo(relay.boundPort());
    live.send("one");
    if (phone.datagram() != "one") return "no live flow";
    limitDescriptors(lowestFree());
    late.send("dropped");
    live.send("two");
    if (phone.datagram() != "two") return "the live flow was disturbed";
    // The two may have been received together, and there is no order between clients.
    network.drain();
    limitDescriptors(1024);
    late.send("again");
    return phone.datagram() == "again" ? "" : "the late client has no flow";
}

}  // namespace

TEST(RelayResources, tcp_relay_out_of_descriptors_neither_spins_nor_disturbs_live_pairs_and_recovers) {
    EXPECT_EQ(test::inChild([] { return shortageThatLeavesNothing(tcpShortage); }), "");
}

TEST(RelayResources, udp_relay_out_of_descriptors_drops_the_datagram_and_tries_again_at_the_next) {
    EXPECT_EQ(test::inChild([] { return shortageThatLeavesNothing(udpShortage); }), "");
}

class RelayCost : public test::RelayTest {};

TEST_F(RelayCost, idle_relays_and_pairs_cause_no_wake_ups) {
    const PhoneService phone;
    std::vector<std::unique_ptr<TCPRelay>> tcp;
    std::vector<std::unique_ptr<UDPRelay>> udp;
    for (int i = 0; i < 50; ++i) {
        tcp.push_back(std::make_unique<TCPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", phone.port()));
        tcp.back()->startBlocking(2s);
        udp.push_back(std::make_unique<UDPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", phone.port()));
        udp.back()->startBlocking(2s);
    }
    const Peer client = Peer::tcpTo(tcp.front()->boundPort());
    const Peer server = phone.accept();
    ASSERT_TRUE(echoes(client, server));
    network->drain();
    // The drain itself is the last thing that wakes a thread; it sleeps again when its count stops growing.
    auto settled = voluntarySwitches();
    ASSERT_EQ(settled.size(), 4U);
    eventually([&] { return std::exchange(settled, voluntarySwitches()) == settled; });
    std::this_thread::sleep_for(50ms);
    const auto before = voluntarySwitches();
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(voluntarySwitches(), before);
}

TEST_F(RelayCost, a_thousand_relays_take_little_memory) {
    constexpr std::size_t count = 1000;
    std::vector<std::unique_ptr<TCPRelay>> tcp;
    std::vector<std::unique_ptr<UDPRelay>> udp;
    tcp.reserve(count);
    udp.reserve(count);
    const std::size_t before = test::residentBytes();
    for (std::size_t i = 0; i < count; ++i) {
        tcp.push_back(std::make_unique<TCPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", 1));
        tcp.back()->start();
        udp.push_back(std::make_unique<UDPRelay>(*network, "127.0.0.1", 0, "127.0.0.1", 1));
        udp.back()->start();
    }
    network->drain();
    EXPECT_NE(tcp.back()->boundPort(), 0);
    EXPECT_NE(udp.back()->boundPort(), 0);
    // The whole range, three times as many of each, may take 8 MiB.
    if (test::residentBytesTell()) {
        EXPECT_LE(test::residentBytes() - before, 2 * count * 1398);
    }
}

}  // namespace quillbay
