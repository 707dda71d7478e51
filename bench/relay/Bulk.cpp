#include <chrono>
#include <future>
#include <string>

#include "relay/RelayMeasurements.h"
#include "relay/Wire.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double gib = 1024.0 * 1024 * 1024;
constexpr std::size_t bytesInAll = std::size_t{4} << 30U;

enum class Ways { toTheTarget, both };

struct Bulk {
    double gibPerSecond = 0;
    double processorSecondsPerGib = 0;  // of the forwarder
};

/// The same known bytes over all connections at once, and compared with what arrives. Each stream has a port
/// of its own where the forwarder listens on many, like the tunnels of a phone.
Bulk measureBulk(const Target& target, const Forwarder& through, int streams, Ways ways) {
    const bool manyPorts = through.port == firstPort;
    std::vector<Connection> connections;
    connections.reserve(static_cast<std::size_t>(streams));
    for (int i = 0; i < streams; ++i)
        connections.push_back(connectThrough(through, target, manyPorts ? i : 0));
    const std::size_t directions = connections.size() * (ways == Ways::both ? 2 : 1);
    const std::size_t bytesEach = bytesInAll / directions;
    const double usedBefore = processorSeconds(through);
    const auto start = Clock::now();
    std::vector<std::future<void>> work;
    const auto copy = [&](int from, int to) {
        work.push_back(std::async(std::launch::async, sendAll, from, bytesEach, 0));
        work.push_back(std::async(std::launch::async, receiveAll, to, bytesEach, 0));
    };
    for (const Connection& each : connections) {
        copy(each.client.get(), each.server.get());
        if (ways == Ways::both) copy(each.server.get(), each.client.get());
    }
    for (auto& each : work)
        each.get();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double moved = static_cast<double>(bytesEach) * static_cast<double>(directions) / gib;
    return {moved / seconds, (processorSeconds(through) - usedBefore) / moved};
}

std::vector<Row> bulk(int runs, const std::string& name, int streams, Ways ways) {
    const Target target;
    Row rate{name, "GiB/s", {}, Wanted{Wanted::Direction::atLeast, 1.15, tcpPeers()}};
    rate.limit =
        "sending, comparing and relaying share the processors: bare and direct are the rates of those that "
        "do least";
    Row cost{name + ", cost", "cpu s/GiB", {}, Wanted{Wanted::Direction::atMost, 0.8, tcpPeers()}};
    cost.limit = "bare: a blocking thread for each direction that splices, and nothing else";
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "nginx", "socat", "bare", "direct"}) {
            const bool onePort = who == std::string("socat");  // it has a process for each stream anyway
            const Forwarder through =
                forwarder(who, target, onePort ? Listens::onOnePort : Listens::onTheFullRange);
            const Bulk result = measureBulk(target, through, streams, ways);
            rate.values[who].push_back(result.gibPerSecond);
            if (through.child) cost.values[who].push_back(result.processorSecondsPerGib);
        }
    }
    return {rate, cost};
}

}  // namespace

std::vector<Measurement> bulkMeasurements() {
    return {
        {"bulk-1", [](int runs) { return bulk(runs, "bulk, 1 stream", 1, Ways::toTheTarget); }},
        {"bulk-8", [](int runs) { return bulk(runs, "bulk, 8 streams", 8, Ways::toTheTarget); }},
        {"bulk-8-both-ways", [](int runs) { return bulk(runs, "bulk, 8 streams both ways", 8, Ways::both); }},
    };
}

}  // namespace quillbay::bench
