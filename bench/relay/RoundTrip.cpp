#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <future>
#include <optional>
#include <stdexcept>

#include "relay/BackgroundStream.h"
#include "relay/RelayMeasurements.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Message = std::array<char, 64>;

constexpr int warmUps = 2'000;
constexpr int samples = 20'000;

struct RoundTrip {
    double median = 0;
    double p99 = 0;
    double processorEach = 0;  // of the forwarder; all in microseconds
};

void echo(int socket, int count) {
    Message message;
    for (int i = 0; i < count; ++i) {
        if (::recv(socket, message.data(), message.size(), MSG_WAITALL) != std::ssize(message)) return;
        if (::send(socket, message.data(), message.size(), MSG_NOSIGNAL) != std::ssize(message)) return;
    }
}

double once(int client, int number) {
    Message sent;
    Message back;
    std::memcpy(sent.data(), knownBytes(static_cast<std::size_t>(number)), sent.size());
    const auto start = Clock::now();
    if (::send(client, sent.data(), sent.size(), MSG_NOSIGNAL) != std::ssize(sent) ||
        ::recv(client, back.data(), back.size(), MSG_WAITALL) != std::ssize(back) || sent != back) {
        throw std::runtime_error("an echo is wrong");
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

RoundTrip measureRoundTrip(const Target& target, const Forwarder& through) {
    const Connection connection = connectThrough(through, target);
    sendAtOnce(connection);
    // Waits for the echo when it goes.
    [[maybe_unused]] const auto echoing =
        std::async(std::launch::async, echo, connection.server.get(), warmUps + samples);
    for (int i = 0; i < warmUps; ++i)
        once(connection.client.get(), i);
    std::vector<double> times;
    times.reserve(samples);
    const double usedBefore = processorSeconds(through);
    for (int i = 0; i < samples; ++i)
        times.push_back(once(connection.client.get(), i));
    const double used = (processorSeconds(through) - usedBefore) * 1e6;
    return {median(times), percentile99(times), used / samples};
}

/// Where a stream is beside it. On the same port it is in the worst place: what is relayed there shares a
/// thread.
enum class Beside { nothing, aStreamOnTheNextPort, aStreamOnItsPort };

std::vector<Row> roundTrip(int runs, const std::string& name, Beside beside) {
    const Target target;
    const std::vector<std::string> peers{"haproxy", "nginx"};
    Row middle{name + ", p50", "µs", {}, Wanted{Wanted::Direction::atMost, 1, peers}};
    middle.limit = "direct: two wake-ups of a thread; a relay adds two more";
    Row tail{name + ", p99", "µs", {}, Wanted{Wanted::Direction::atMost, 1.1, peers}};
    Row cost{name + ", cost", "cpu µs", {}};
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "nginx", "direct"}) {
            const Forwarder through = forwarder(who, target, Listens::onTheFullRange);
            std::optional<BackgroundStream> stream;
            const bool nextPort = beside == Beside::aStreamOnTheNextPort && through.child;
            if (beside != Beside::nothing) stream.emplace(through, target, nextPort ? 1 : 0);
            const RoundTrip result = measureRoundTrip(target, through);
            middle.values[who].push_back(result.median);
            tail.values[who].push_back(result.p99);
            if (through.child && !stream) cost.values[who].push_back(result.processorEach);
        }
    }
    if (beside != Beside::nothing) return {middle, tail};
    return {middle, tail, cost};
}

}  // namespace

std::vector<Measurement> roundTripMeasurements() {
    const std::string name = "64 bytes there and back";
    return {
        {"round-trip", [name](int runs) { return roundTrip(runs, name, Beside::nothing); }},
        {"round-trip-busy",
         [name](int runs) {
             return roundTrip(runs, name + " beside a stream", Beside::aStreamOnTheNextPort);
         }},
        {"round-trip-busy-port",
         [name](int runs) {
             return roundTrip(runs, name + " beside a stream on its port", Beside::aStreamOnItsPort);
         }},
    };
}

}  // namespace quillbay::bench
