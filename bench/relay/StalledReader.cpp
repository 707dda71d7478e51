#include <sys/socket.h>

#include <array>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include "relay/RelayMeasurements.h"
#include "relay/Wire.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int streams = 8;
constexpr std::size_t bytesEach = std::size_t{384} << 20U;

/// A client that sends as much as anybody takes to a target that reads nothing.
class StalledReader {
 public:
    StalledReader(const Forwarder& through, const Target& target)
        : connection_(connectThrough(through, target)) {
        // Until nothing more was taken for a while: everything on the way is full then.
        const std::array<char, 65536> bytes{};
        for (int quiet = 0; quiet < 20;) {
            const ssize_t sent =
                ::send(connection_.client.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            quiet = sent > 0 ? 0 : quiet + 1;
            if (sent <= 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

 private:
    Connection connection_;
};

double rateOfBusyStreams(const Forwarder& through, const Target& target) {
    std::vector<Connection> connections;
    connections.reserve(static_cast<std::size_t>(streams));
    for (int i = 0; i < streams; ++i)
        connections.push_back(connectThrough(through, target));
    const auto start = Clock::now();
    std::vector<std::future<void>> work;
    for (const Connection& each : connections) {
        work.push_back(std::async(std::launch::async, sendAll, each.client.get(), bytesEach, 0));
        work.push_back(std::async(std::launch::async, receiveAll, each.server.get(), bytesEach, 0));
    }
    for (auto& each : work)
        each.get();
    const double gib = static_cast<double>(streams * bytesEach) / (1024.0 * 1024 * 1024);
    return gib / std::chrono::duration<double>(Clock::now() - start).count();
}

std::vector<Row> stalledReader(int runs) {
    const Target target;
    Row rate{"8 streams beside a stalled reader",
             "GiB/s",
             {},
             Wanted{Wanted::Direction::atLeast, 0.95, {"without it"}}};
    // What is held for the stalled one is at most 1 MiB in its direction; the rest is what any stream leaves.
    Row memory{"memory held for it", "MiB", {}, Wanted{Wanted::Direction::atMost, 1.25, {}}};
    memory.limit = "1 MiB of bytes that nobody takes, in blocks of 64 KiB";
    for (int i = 0; i < runs; ++i) {
        const Forwarder through = forwarder("relay", target, Listens::onOnePort);
        rate.values["without it"].push_back(rateOfBusyStreams(through, target));
        const double before = through.child->memoryKiB();
        const StalledReader stalled(through, target);
        memory.values["relay"].push_back((through.child->memoryKiB() - before) / 1024);
        rate.values["relay"].push_back(rateOfBusyStreams(through, target));
    }
    return {rate, memory};
}

}  // namespace

std::vector<Measurement> stalledReaderMeasurements() {
    return {{"stalled-reader", stalledReader}};
}

}  // namespace quillbay::bench
