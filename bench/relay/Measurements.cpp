#include "relay/Measurements.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "discovery/ZoneDump.h"
#include "relay/Peers.h"
#include "relay/Traffic.h"

namespace quillbay::bench {

namespace {

struct Opening {
    double openMilliseconds = 0;
    double stopMilliseconds = 0;
    double residentKiB = 0;
};

Opening openRange(const std::string& how) {
    Child child({QUILLBAY_BENCH_RELAY, how, std::to_string(firstPort), std::to_string(lastPort)});
    std::istringstream line(child.line());
    Opening result;
    int opened = 0;
    line >> result.openMilliseconds >> result.stopMilliseconds >> result.residentKiB >> opened;
    if (opened != 2 * (lastPort - firstPort + 1))
        throw std::runtime_error("not every port of the range is free");
    return result;
}

std::vector<Row> range(int runs) {
    Row open{"open 3001 TCP + 3001 UDP", "ms", {}, Wanted{Wanted::Direction::atMost, 2.5, {"bare"}}};
    Row stop{"stop them", "ms", {}};
    Row memory{"memory of the open range", "MiB", {}, Wanted{Wanted::Direction::atMost, 16, {}}};
    for (int i = 0; i < runs; ++i) {
        for (const auto& [who, how] : {std::pair{"relay", "open"}, std::pair{"bare", "bare"}}) {
            const Opening result = openRange(how);
            open.values[who].push_back(result.openMilliseconds);
            stop.values[who].push_back(result.stopMilliseconds);
            if (result.residentKiB > 0) memory.values[who].push_back(result.residentKiB / 1024);
        }
    }
    return {open, stop, memory};
}

std::vector<Row> idle(int runs) {
    const Target target;
    const Forwarder open = relay(target.port(), Listens::onTheFullRange);
    Row wakeUps{"wake-ups in 10 idle seconds", "count", {}, Wanted{Wanted::Direction::atMost, 0, {}}};
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (int i = 0; i < runs; ++i) {
        const long before = open.child->voluntarySwitches();
        std::this_thread::sleep_for(std::chrono::seconds(10));
        wakeUps.values["relay"].push_back(static_cast<double>(open.child->voluntarySwitches() - before));
    }
    return {wakeUps};
}

Forwarder forwarder(const std::string& who, std::uint16_t target, Listens listens) {
    if (who == "relay") return relay(target, listens);
    if (who == "haproxy") return haproxy(target, listens);
    return direct(target);
}

std::vector<Row> bulk(int runs, int streams) {
    const Target target;
    const std::size_t bytesEach = (std::size_t{4} << 30U) / static_cast<std::size_t>(streams);
    const std::string name = "bulk, " + std::to_string(streams) + (streams == 1 ? " stream" : " streams");
    Row rate{name, "GiB/s", {}, Wanted{Wanted::Direction::atLeast, 1, {"haproxy"}}};
    Row cost{name + ", cost", "cpu s/GiB", {}, Wanted{Wanted::Direction::atMost, 1, {"haproxy"}}};
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "direct"}) {
            const Forwarder through = forwarder(who, target.port(), Listens::onOnePort);
            // The connection that only asks whether a forwarder is up reaches the target too.
            if (std::string(who) == "haproxy") static_cast<void>(target.accept());
            const Bulk result = measureBulk(target, through, streams, bytesEach);
            rate.values[who].push_back(result.gibPerSecond);
            if (through.child) cost.values[who].push_back(result.processorSecondsPerGib);
        }
    }
    return {rate, cost};
}

std::vector<Row> roundTrip(int runs) {
    const Target target;
    Row middle{"64 bytes there and back, p50", "µs", {}, Wanted{Wanted::Direction::atMost, 1, {"haproxy"}}};
    Row tail{"64 bytes there and back, p99", "µs", {}};
    Row cost{"64 bytes there and back, cost", "cpu µs", {}};
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "direct"}) {
            const Forwarder through = forwarder(who, target.port(), Listens::onTheFullRange);
            if (std::string(who) == "haproxy") static_cast<void>(target.accept());
            static_cast<void>(measureRoundTrip(target, through, 2'000));
            const RoundTrip result = measureRoundTrip(target, through, 20'000);
            middle.values[who].push_back(result.medianMicroseconds);
            tail.values[who].push_back(result.p99Microseconds);
            if (through.child) cost.values[who].push_back(result.processorMicrosecondsEach);
        }
    }
    return {middle, tail, cost};
}

}  // namespace

const std::vector<Measurement>& allMeasurements() {
    static const std::vector<Measurement> all{
        {"range", range},
        {"idle", idle},
        {"bulk-1", [](int runs) { return bulk(runs, 1); }},
        {"bulk-8", [](int runs) { return bulk(runs, 8); }},
        {"round-trip", roundTrip},
        {"zone-dump", zoneDump},
    };
    return all;
}

}  // namespace quillbay::bench
