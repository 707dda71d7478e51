#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/UniqueDescriptor.h"
#include "relay/Peers.h"

namespace quillbay::bench {

/// The far end of every connection: blocking sockets of this process.
class Target {
 public:
    Target();
    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] UniqueDescriptor accept() const;

 private:
    UniqueDescriptor listener_;
    std::uint16_t port_ = 0;
};

struct Bulk {
    double gibPerSecond = 0;
    double processorSecondsPerGib = 0;  // of the forwarder
};

/// Sends the same known bytes over `streams` connections at once, `bytesEach` over each, and compares what
/// arrives. Throws when anything differs.
Bulk measureBulk(const Target& target, const Forwarder& through, int streams, std::size_t bytesEach);

struct RoundTrip {
    double medianMicroseconds = 0;
    double p99Microseconds = 0;
    double processorMicrosecondsEach = 0;  // of the forwarder
};

/// Sends 64 bytes and waits for their echo, `count` times. Throws when an echo differs.
RoundTrip measureRoundTrip(const Target& target, const Forwarder& through, int count);

}  // namespace quillbay::bench
