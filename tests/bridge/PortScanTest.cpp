#include "bridge/PortScan.h"

#include <sys/resource.h>

#include <atomic>
#include <future>
#include <mutex>
#include <set>

#include "bridge/HostAddresses.h"
#include "bridge/ProbeFixture.h"
#include "bridge/ProbedServer.h"
#include "fakes/FewDescriptors.h"

namespace quillbay {
namespace {

using fakes::ProbedServer;
using std::chrono::milliseconds;
using Scan = RemotePairingProbe::Scan;

class PortScanTest : public fakes::ProbeFixture {
 protected:
    static Scan scanOf(const std::string& host, int first, int last) {
        Scan scan;
        scan.host = host;
        scan.firstPort = static_cast<std::uint16_t>(first);
        scan.lastPort = static_cast<std::uint16_t>(last);
        scan.wireProtocolVersion = 19;
        return scan;
    }
    static Scan scanOf(const ProbedServer& server) {
        return scanOf(server.address(), server.firstPort(), server.lastPort());
    }
    RemotePairingScanReport run(const Scan& scan) { return probe_->scanForControlChannel(scan, StopToken()); }
};

/// The processor time of this process so far.
milliseconds processorTime() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return milliseconds((usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
                        (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000);
}

TEST_F(PortScanTest, probes_the_preferred_port_first_and_then_the_others_ascending_once_each) {
    std::vector<std::uint16_t> probed;
    Scan scan = scanOf(fakes::randomLoopbackAddress(), 20000, 20005);
    scan.concurrency = 1;
    scan.onProgress = [&](std::uint16_t port) { probed.push_back(port); };

    scan.preferred = 20003;
    run(scan);
    EXPECT_EQ(probed, (std::vector<std::uint16_t>{20003, 20000, 20001, 20002, 20004, 20005}));
    EXPECT_EQ(scan.portCount(), 6U);

    probed.clear();
    scan.preferred = 19000;
    run(scan);
    EXPECT_EQ(probed, (std::vector<std::uint16_t>{19000, 20000, 20001, 20002, 20003, 20004, 20005}));
    EXPECT_EQ(scan.portCount(), 7U);

    probed.clear();
    scan.preferred.reset();
    run(scan);
    EXPECT_EQ(probed, (std::vector<std::uint16_t>{20000, 20001, 20002, 20003, 20004, 20005}));
}

TEST_F(PortScanTest, probes_the_last_port_of_all_and_ends) {
    std::vector<std::uint16_t> probed;
    Scan scan = scanOf(fakes::randomLoopbackAddress(), 65534, 65535);
    scan.concurrency = 1;
    scan.onProgress = [&](std::uint16_t port) { probed.push_back(port); };
    for (const auto preferred : {std::optional<std::uint16_t>(65535), std::optional<std::uint16_t>(65534)}) {
        probed.clear();
        scan.preferred = preferred;
        run(scan);
        EXPECT_EQ(probed.size(), 2U);
        EXPECT_EQ(probed.front(), preferred);
    }
}

TEST_F(PortScanTest, an_empty_range_probes_nothing) {
    EXPECT_EQ(scanOf("127.0.0.1", 20001, 20000).portCount(), 0U);
    const auto report = run(scanOf("127.0.0.1", 20001, 20000));
    EXPECT_FALSE(report.port);
    EXPECT_TRUE(report.openButSilent.empty());
}

TEST_F(PortScanTest, never_has_more_probes_in_flight_than_it_may) {
    const ProbedServer server(ProbedServer::Manner::staysSilent, 40);
    Scan scan = scanOf(server);
    scan.concurrency = 8;
    scan.timeout = milliseconds(150);
    const auto portScan = std::make_shared<PortScan>(*network_, random_, scan, resolveHost(scan.host));
    const auto report = portScan->run(StopToken());
    EXPECT_EQ(report.openButSilent.size(), 40U);
    EXPECT_EQ(server.mostConnections(), 8U);
    EXPECT_EQ(portScan->mostInFlight(), 8U);
}

TEST_F(PortScanTest, probes_96_of_the_ports_from_49152_on_at_once_by_default) {
    EXPECT_EQ(Scan().firstPort, 49152);
    EXPECT_EQ(Scan().lastPort, 65535);
    const ProbedServer server(ProbedServer::Manner::staysSilent, 200);
    Scan scan = scanOf(server);
    scan.timeout = milliseconds(150);
    const auto portScan = std::make_shared<PortScan>(*network_, random_, scan, resolveHost(scan.host));
    EXPECT_EQ(portScan->run(StopToken()).openButSilent.size(), 200U);
    EXPECT_EQ(portScan->mostInFlight(), 96U);
}

TEST_F(PortScanTest, a_concurrency_of_zero_means_one) {
    const ProbedServer server(ProbedServer::Manner::staysSilent, 3);
    Scan scan = scanOf(server);
    scan.concurrency = 0;
    scan.timeout = milliseconds(100);
    EXPECT_EQ(run(scan).openButSilent.size(), 3U);
    EXPECT_EQ(server.mostConnections(), 1U);
}

TEST_F(PortScanTest, finds_the_port_and_dispatches_no_more) {
    const ProbedServer server(ProbedServer::Manner::answers);
    Scan scan = scanOf(server.address(), server.firstPort() - 500, server.firstPort() + 20000);
    scan.concurrency = 4;
    std::size_t probed = 0;
    scan.onProgress = [&](std::uint16_t) { ++probed; };
    const auto report = run(scan);
    EXPECT_EQ(report.port, server.firstPort());
    EXPECT_TRUE(report.openButSilent.empty());
    EXPECT_GE(probed, 501U);
    EXPECT_LT(probed, 20501U);
}

TEST_F(PortScanTest, finds_the_preferred_port_without_trying_the_whole_range) {
    const ProbedServer server(ProbedServer::Manner::answers);
    Scan scan = scanOf(server.address(), server.firstPort() - 5000, server.firstPort() + 20000);
    scan.preferred = server.firstPort();
    scan.concurrency = 1;
    std::size_t probed = 0;
    scan.onProgress = [&](std::uint16_t) { ++probed; };
    EXPECT_EQ(run(scan).port, server.firstPort());
    EXPECT_EQ(probed, 1U);
}

TEST_F(PortScanTest, lists_open_but_silent_ports_in_the_order_in_which_their_probes_finished) {
    const ProbedServer server(ProbedServer::Manner::ignores, 2);
    Scan scan = scanOf(server);
    scan.preferred = server.lastPort();
    scan.concurrency = 1;
    scan.timeout = milliseconds(100);
    EXPECT_EQ(run(scan).openButSilent, (std::vector<std::uint16_t>{server.lastPort(), server.firstPort()}));
}

TEST_F(PortScanTest, stops_dispatching_when_it_may_not_continue_and_still_records_running_probes) {
    const ProbedServer server(ProbedServer::Manner::staysSilent, 20);
    Scan scan = scanOf(server);
    scan.concurrency = 3;
    scan.timeout = milliseconds(200);
    std::atomic<int> asked = 0;
    scan.shouldContinue = [&] { return ++asked <= 3; };
    std::vector<std::uint16_t> probed;
    scan.onProgress = [&](std::uint16_t port) { probed.push_back(port); };
    const auto report = run(scan);
    EXPECT_EQ(report.openButSilent.size(), 3U);
    EXPECT_EQ(probed.size(), 3U);
    EXPECT_EQ(server.received().size(), 3U);
    EXPECT_EQ(asked, 4);
}

TEST_F(PortScanTest, a_stop_drops_the_running_probes_and_calls_nobody_afterwards) {
    const ProbedServer server(ProbedServer::Manner::staysSilent, 32);
    Scan scan = scanOf(server);
    scan.concurrency = 16;
    scan.timeout = milliseconds(60000);
    std::atomic<int> calls = 0;
    scan.onProgress = [&](std::uint16_t) { ++calls; };
    scan.shouldContinue = [&] { return ++calls > 0; };
    const StopSource source;
    auto report =
        std::async(std::launch::async, [&] { return probe_->scanForControlChannel(scan, source.token()); });
    EXPECT_TRUE(eventually([&] { return server.openConnections() == 16; }));
    int callsAtReturn = 0;
    EXPECT_LT(took([&] {
                  source.requestStop();
                  EXPECT_FALSE(report.get().port);
                  callsAtReturn = calls;
              }),
              milliseconds(1000));
    EXPECT_TRUE(eventually([&] { return server.openConnections() == 0; }));
    EXPECT_EQ(calls, callsAtReturn);
}

TEST_F(PortScanTest, a_callback_may_itself_request_the_stop) {
    Scan scan = scanOf(fakes::randomLoopbackAddress(), 10000, 60000);
    const StopSource source;
    std::atomic<int> probed = 0;
    scan.onProgress = [&](std::uint16_t) {
        if (++probed == 10) source.requestStop();
    };
    probe_->scanForControlChannel(scan, source.token());
    EXPECT_GE(probed, 10);
    EXPECT_LT(probed, 50001);
}

TEST_F(PortScanTest, the_network_may_end_right_after_a_stopped_scan) {
    const ProbedServer server(ProbedServer::Manner::staysSilent, 64);
    for (int round = 0; round < 10; ++round) {
        std::optional<NetworkThreads> network(std::in_place, 3U);
        RemotePairingProbe probe(*network, random_);
        Scan scan = scanOf(server);
        scan.timeout = milliseconds(60000);
        const StopSource source;
        std::atomic<int> asked = 0;
        scan.shouldContinue = [&] {
            if (++asked == 40) source.requestStop();
            return true;
        };
        probe.scanForControlChannel(scan, source.token());
        network.reset();
    }
    EXPECT_TRUE(eventually([&] { return server.openConnections() == 0; }));
}

TEST_F(PortScanTest, callbacks_do_not_overlap) {
    Scan scan = scanOf(fakes::randomLoopbackAddress(), 10000, 14095);
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    const auto visit = [&] {
        if (++inside != 1) overlapped = true;
        --inside;
        return true;
    };
    std::set<std::uint16_t> probed;
    scan.onProgress = [&](std::uint16_t port) {
        visit();
        probed.insert(port);
    };
    scan.shouldContinue = visit;
    run(scan);
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(probed.size(), 4096U);
}

TEST_F(PortScanTest, the_full_range_of_closed_ports_takes_well_under_a_second) {
    milliseconds best = milliseconds::max();
    for (int round = 0; round < 3; ++round) {
        std::size_t probed = 0;
        Scan scan = scanOf(fakes::randomLoopbackAddress(), 49152, 65535);
        scan.onProgress = [&](std::uint16_t) { ++probed; };
        RemotePairingScanReport report;
        best = std::min(best, took([&] { report = run(scan); }));
        EXPECT_FALSE(report.port);
        EXPECT_TRUE(report.openButSilent.empty());
        EXPECT_EQ(probed, 16384U);
    }
    RecordProperty("milliseconds", static_cast<int>(best.count()));
    EXPECT_LT(best, milliseconds(1000));
}

TEST_F(PortScanTest, a_shortage_of_descriptors_delays_it_and_spoils_no_verdict) {
    const ProbedServer server(ProbedServer::Manner::ignores, 30);
    Scan scan = scanOf(server);
    scan.concurrency = 30;
    scan.timeout = milliseconds(100);
    RemotePairingScanReport report;
    const milliseconds before = processorTime();
    {
        const fakes::FewDescriptors few(6);
        EXPECT_LT(took([&] { report = run(scan); }), milliseconds(3000));
    }
    EXPECT_EQ(std::set(report.openButSilent.begin(), report.openButSilent.end()).size(), 30U);
    EXPECT_LT(processorTime() - before, milliseconds(250));
}

TEST_F(PortScanTest, a_scan_without_any_descriptor_waits_and_ends_when_it_may_not_continue) {
    const ProbedServer server(ProbedServer::Manner::answers, 2);
    Scan scan = scanOf(server);
    std::atomic<int> asked = 0;
    std::atomic<int> probed = 0;
    scan.onProgress = [&](std::uint16_t) { ++probed; };
    scan.shouldContinue = [&] { return ++asked < 8; };
    const milliseconds before = processorTime();
    milliseconds time{};
    {
        const fakes::FewDescriptors none(0);
        time = took([&] { EXPECT_FALSE(run(scan).port); });
    }
    EXPECT_EQ(probed, 0);
    EXPECT_GE(time, milliseconds(200));
    EXPECT_LT(processorTime() - before, milliseconds(150));
}

}  // namespace
}  // namespace quillbay
