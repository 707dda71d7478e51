#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>

#include "relay/RelayMeasurements.h"
#include "relay/Wire.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int connectionsEach = 4'000;
constexpr int atOnce = 8;

enum class Ports { one, all };

struct Connects {
    double perSecond = 0;
    double processorEach = 0;  // of the forwarder, microseconds
};

/// Gives one byte back on each connection, until the target is closed.
void serve(const Target& target, std::atomic<int>& left) {
    while (left-- > 0) {
        const UniqueDescriptor server = target.accept();
        char byte = 0;
        if (::recv(server.get(), &byte, 1, 0) != 1 || ::send(server.get(), &byte, 1, MSG_NOSIGNAL) != 1)
            throw std::runtime_error("a byte did not arrive");
        // Until the client has closed: otherwise the end would be the target's.
        if (::recv(server.get(), &byte, 1, 0) > 0) throw std::runtime_error("a byte too many arrived");
    }
}

void connectAndClose(const Forwarder& through, Ports ports, std::atomic<int>& next) {
    for (int number = next++; number < connectionsEach; number = next++) {
        const int offset = ports == Ports::all ? number % (lastPort - firstPort + 1) : 0;
        const UniqueDescriptor client =
            connectTo(through.address, static_cast<std::uint16_t>(through.port + offset));
        const char sent = *knownBytes(static_cast<std::size_t>(number));
        char back = 0;
        if (::send(client.get(), &sent, 1, MSG_NOSIGNAL) != 1 || ::recv(client.get(), &back, 1, 0) != 1 ||
            back != sent)
            throw std::runtime_error("a byte did not come back");
    }
}

Connects measureConnects(const Target& target, const Forwarder& through, Ports ports) {
    std::atomic<int> next = 0;
    std::atomic<int> left = connectionsEach;
    const double usedBefore = processorSeconds(through);
    const auto start = Clock::now();
    std::vector<std::future<void>> work;
    for (int i = 0; i < atOnce; ++i) {
        work.push_back(std::async(std::launch::async, [&] { serve(target, left); }));
        work.push_back(std::async(std::launch::async, [&] { connectAndClose(through, ports, next); }));
    }
    for (auto& each : work)
        each.get();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return {connectionsEach / seconds, (processorSeconds(through) - usedBefore) * 1e6 / connectionsEach};
}

std::vector<Row> connects(int runs) {
    const Target target;
    const std::vector<std::string> peers{"haproxy", "nginx"};
    const std::string name = "connect, one byte, close";
    Row onOne{name, "1/s", {}, Wanted{Wanted::Direction::atLeast, 1, {"haproxy", "nginx", "socat"}}};
    onOne.limit = "direct: one connection each instead of two";
    Row cost{name + ", cost", "cpu µs", {}};
    Row spread{name + " on 3001 ports", "1/s", {}, Wanted{Wanted::Direction::atLeast, 1, peers}};
    Row evenly{"the same beside one port", "1/s", {}, Wanted{Wanted::Direction::atLeast, 0.9, {"one port"}}};
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "nginx", "socat", "direct"}) {
            const Forwarder through = forwarder(who, target, Listens::onOnePort);
            const Connects result = measureConnects(target, through, Ports::one);
            onOne.values[who].push_back(result.perSecond);
            if (through.child) cost.values[who].push_back(result.processorEach);
        }
        for (const char* who : {"relay", "haproxy", "nginx"}) {
            const Forwarder through = forwarder(who, target, Listens::onTheFullRange);
            spread.values[who].push_back(measureConnects(target, through, Ports::all).perSecond);
        }
        // In the same process: the range is open in both.
        const Forwarder through = forwarder("relay", target, Listens::onTheFullRange);
        evenly.values["one port"].push_back(measureConnects(target, through, Ports::one).perSecond);
        evenly.values["relay"].push_back(measureConnects(target, through, Ports::all).perSecond);
    }
    return {onOne, cost, spread, evenly};
}

}  // namespace

std::vector<Measurement> connectMeasurements() {
    return {{"connects", connects}};
}

}  // namespace quillbay::bench
