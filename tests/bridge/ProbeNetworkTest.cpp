// What a probe meets on networks that are made for it: packets that vanish, a host that is gone, a port range
// so small that a connection meets itself.

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

#include "bridge/ProbeFixture.h"
#include "bridge/ProbedServer.h"
#include "fakes/NetworkNamespace.h"
#include "platform/Sockets.h"

namespace quillbay {
namespace {

using fakes::inNetworkNamespace;
using fakes::ProbedServer;
using fakes::shell;
using std::chrono::milliseconds;
using Result = RemotePairingProbeResult;

class ProbeNetworkTest : public fakes::ProbeFixture {};

/// A network in which 10.77.0.2 never answers.
void makeSilentNetwork() {
    shell("ip link set lo up");
    fakes::makeInterface("hole", "10.77.0.1/24");
    fakes::makeBlackHole("hole", "10.77.0.2");
}

std::size_t threads() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                                  std::filesystem::directory_iterator()));
}

/// How many connections of the calling thread's network have been closed on this side and are not gone yet.
std::size_t lingering() {
    // FIN_WAIT1, FIN_WAIT2, TIME_WAIT and CLOSING, by their numbers in tcp_states.h.
    const std::set<std::string> states{"04", "05", "06", "0B"};
    std::ifstream table("/proc/thread-self/net/tcp");
    std::size_t count = 0;
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream columns(line);
        std::string number, local, remote, state;
        columns >> number >> local >> remote >> state;
        count += states.count(state);
    }
    return count;
}

TEST_F(ProbeNetworkTest, an_address_that_drops_packets_does_not_respond_within_the_connect_time) {
    inNetworkNamespace([&] {
        makeSilentNetwork();
        NetworkThreads network(2);
        RemotePairingProbe probe(network, random_);
        Result result{};
        const milliseconds time = took([&] {
            result =
                probe.probe({"10.77.0.2", 50000, 19}, milliseconds(400), milliseconds(30000), StopToken());
        });
        EXPECT_EQ(result, Result::noResponse);
        EXPECT_GE(time, milliseconds(400));
        EXPECT_LT(time, milliseconds(1500));
    });
}

TEST_F(ProbeNetworkTest, an_address_that_drops_packets_costs_the_connect_time_and_the_next_is_asked) {
    inNetworkNamespace([&] {
        makeSilentNetwork();
        const ProbedServer server(ProbedServer::Manner::answers);
        NetworkThreads network(1);
        ProbeAttempt::Outcome outcome;
        const milliseconds time = took([&] {
            outcome = askAll(network, {"10.77.0.2", server.address()}, server.firstPort(), milliseconds(300));
        });
        EXPECT_EQ(outcome, Result::remotePairingPort);
        EXPECT_GE(time, milliseconds(300));
        EXPECT_LT(time, milliseconds(1500));
        network.drain();
    });
}

TEST_F(ProbeNetworkTest, a_host_without_a_route_and_a_name_without_a_resolver_do_not_respond) {
    inNetworkNamespace([&] {
        NetworkThreads network(1);
        RemotePairingProbe probe(network, random_);
        for (const char* host : {"10.77.0.2", "phone.invalid"})
            EXPECT_EQ(probe.probe({host, 50000, 19}, milliseconds(2000), milliseconds(2000), StopToken()),
                      Result::noResponse);
    });
}

TEST_F(ProbeNetworkTest, a_stop_ends_a_scan_of_an_address_that_drops_packets_and_starts_no_threads) {
    inNetworkNamespace([&] {
        makeSilentNetwork();
        NetworkThreads network(2);
        RemotePairingProbe probe(network, random_);
        RemotePairingProbe::Scan scan;
        scan.host = "10.77.0.2";
        scan.timeout = milliseconds(100);
        const StopSource source;
        std::size_t probed = 0;
        std::size_t mostThreads = 0;
        const std::size_t threadsBefore = threads();
        scan.onProgress = [&](std::uint16_t) {
            mostThreads = std::max(mostThreads, threads());
            if (++probed == 200) source.requestStop();
        };
        const milliseconds time = took([&] { probe.scanForControlChannel(scan, source.token()); });
        EXPECT_GE(time, milliseconds(300));
        EXPECT_LT(time, milliseconds(3000));
        EXPECT_EQ(mostThreads, threadsBefore);
        network.drain();
    });
}

/// True when a plain connection to the closed port succeeds and brings back what it sends.
bool meetsItself(std::uint16_t port) {
    const UniqueDescriptor plain = openSocket(AF_INET, SOCK_STREAM);
    const sockaddr_in self = ipv4Endpoint("127.0.0.1", port);
    if (::connect(plain.get(), reinterpret_cast<const sockaddr*>(&self), sizeof self) != 0 &&
        errno != EINPROGRESS)
        return false;
    const linger reset{1, 0};
    ::setsockopt(plain.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    char echo = 0;
    return ::send(plain.get(), "x", 1, noSignalFlag()) == 1 && ::recv(plain.get(), &echo, 1, 0) == 1 &&
           echo == 'x';
}

TEST_F(ProbeNetworkTest, a_connection_that_met_itself_counts_as_refused) {
    inNetworkNamespace([&] {
        shell("ip link set lo up && echo '50001 50001' > /proc/sys/net/ipv4/ip_local_port_range");
        ASSERT_TRUE(meetsItself(50001));
        NetworkThreads network(2);
        RemotePairingProbe probe(network, random_);
        for (int round = 0; round < 5; ++round)
            EXPECT_EQ(
                probe.probe({"127.0.0.1", 50001, 19}, milliseconds(2000), milliseconds(500), StopToken()),
                Result::refused);
        EXPECT_EQ(lingering(), 0U);
    });
}

TEST_F(ProbeNetworkTest, a_scan_of_open_ports_leaves_no_connection_waiting_out_its_time) {
    inNetworkNamespace([&] {
        shell("ip link set lo up");
        const ProbedServer server(ProbedServer::Manner::ignores, 200);
        NetworkThreads network(2);
        RemotePairingProbe probe(network, random_);
        RemotePairingProbe::Scan scan;
        scan.host = server.address();
        scan.firstPort = server.firstPort();
        scan.lastPort = server.lastPort();
        scan.timeout = milliseconds(100);
        EXPECT_EQ(probe.scanForControlChannel(scan, StopToken()).openButSilent.size(), 200U);
        EXPECT_EQ(lingering(), 0U);
    });
}

}  // namespace
}  // namespace quillbay
