#pragma once

#include <chrono>
#include <cstddef>

#include "udp/Forwarders.h"

namespace quillbay::bench {

struct Load {
    int flows = 1;
    std::size_t datagramBytes = smallestLoad;
    /// How many datagrams are on their way at once, of all flows together.
    std::size_t underWay = 1;

    static constexpr std::size_t smallestLoad = 64;
};

struct Throughput {
    /// Datagrams that were sent and came back.
    double perSecond = 0;
    /// The share of those sent that did not.
    double lost = 0;
    /// What the forwarder used of the processors for each that came back.
    double processorMicrosecondsEach = 0;
};

/// Keeps as many as that on their way for the time, the flows in turn, and compares all that comes back.
/// Throws when a datagram came back changed or to the wrong flow.
Throughput measureThroughput(const Forwarder& through, const Load& load, std::chrono::milliseconds time);

struct FirstReplies {
    double flowsPerSecond = 0;
    double p99Microseconds = 0;
};

/// One datagram and its reply from each of `clients` new ports, `atOnce` of them at a time. Throws when a
/// reply does not come or is wrong.
FirstReplies measureFirstReplies(const Forwarder& through, int clients, int atOnce);

}  // namespace quillbay::bench
