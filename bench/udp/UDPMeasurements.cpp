#include "udp/UDPMeasurements.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>

#include "udp/Echo.h"
#include "udp/Flows.h"

namespace quillbay::bench {

namespace {

constexpr std::array everyone{"relay", "nginx", "direct"};
constexpr double acceptedLoss = 0.001;

/// The most that goes through with no more than the accepted loss: the best of several numbers of datagrams
/// under way, since what suits one forwarder best is too few or too many for another.
Throughput best(const Forwarder& through, Load load) {
    constexpr std::chrono::milliseconds time{250};
    Throughput best;
    for (const std::size_t underWay : {16U, 64U, 128U, 256U, 512U, 1024U}) {
        load.underWay = underWay;
        const Throughput result = measureThroughput(through, load, time);
        if (result.lost <= acceptedLoss && result.perSecond > best.perSecond) best = result;
    }
    if (best.perSecond == 0) throw std::runtime_error("more is lost than may be, however few are under way");
    return best;
}

std::vector<Row> throughput(int runs, int flows, std::size_t bytes) {
    const Echo target;
    const std::string name = fmt::format("{} bytes over UDP and back, {}", bytes,
                                         flows == 1 ? "1 flow" : fmt::format("{} flows", flows));
    Row rate{name, "1000/s", {}, Wanted{Wanted::Direction::atLeast, 1.5, {"nginx"}}};
    Row cost{name + ", cost", "cpu µs", {}};
    rate.limit =
        "both ends share the processors with what lies between them, and cost as much as direct shows: "
        "the rate grows less than the cost falls";
    for (int i = 0; i < runs; ++i) {
        for (const char* who : everyone) {
            const Forwarder through = datagramForwarder(who, target.port());
            const Throughput result = best(through, {flows, bytes, 1});
            rate.values[who].push_back(result.perSecond / 1000);
            if (through.child) cost.values[who].push_back(result.processorMicrosecondsEach);
        }
    }
    return {rate, cost};
}

std::vector<Row> newFlows(int runs) {
    constexpr int clients = 3'000;
    constexpr int few = 16;
    constexpr int many = 64;
    const Echo target;
    Row rate{"new UDP flows", "flows/s", {}, Wanted{Wanted::Direction::atLeast, 1, {"nginx"}}};
    Row tail{"new UDP flows, first reply p99", "µs", {}, Wanted{Wanted::Direction::atMost, 1, {"nginx"}}};
    rate.limit = tail.limit = "a socket made, directed and watched for every client";
    for (int i = 0; i < runs; ++i) {
        for (const char* who : everyone) {
            const Forwarder through = datagramForwarder(who, target.port());
            // As many at once as suit it better; the time of a reply is that with few.
            const FirstReplies light = measureFirstReplies(through, clients, few);
            const FirstReplies heavy = measureFirstReplies(through, clients, many);
            rate.values[who].push_back(std::max(light.flowsPerSecond, heavy.flowsPerSecond));
            tail.values[who].push_back(light.p99Microseconds);
        }
    }
    return {rate, tail};
}

}  // namespace

std::vector<Measurement> udpMeasurements() {
    constexpr int many = 100;
    constexpr std::size_t small = 64;
    constexpr std::size_t large = 1'200;
    return {{"udp-64", [](int runs) { return throughput(runs, 1, small); }},
            {"udp-64-flows", [](int runs) { return throughput(runs, many, small); }},
            {"udp-1200", [](int runs) { return throughput(runs, 1, large); }},
            {"udp-1200-flows", [](int runs) { return throughput(runs, many, large); }},
            {"udp-new-flows", newFlows}};
}

}  // namespace quillbay::bench
