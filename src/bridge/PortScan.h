#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "bridge/HostAddresses.h"
#include "bridge/ProbeAttempt.h"
#include "bridge/RemotePairingProbe.h"
#include "platform/NetworkThreads.h"
#include "platform/RandomSource.h"
#include "platform/StopToken.h"

namespace quillbay {

/// One scan. It works in lanes, as many as there may be probes in flight: a lane belongs to one network
/// thread and runs one probe after the other there, each time with the next port that no lane has taken.
class PortScan : public std::enable_shared_from_this<PortScan> {
 public:
    /// `network` and `random` must outlive what the scan started, which is all over once their threads have
    /// run what was queued when `run` returned.
    PortScan(NetworkThreads& network, RandomSource& random, RemotePairingProbe::Scan scan,
             std::vector<HostAddress> addresses);

    /// Blocks the caller as `RemotePairingProbe::scanForControlChannel` does. Called once.
    RemotePairingScanReport run(const StopToken& token);

    /// The most probes that were in flight at once so far.
    [[nodiscard]] std::size_t mostInFlight() const;

 private:
    class Lane;

    /// Gives the lane its next port, unless it still holds one; false when the lane has nothing more to do.
    bool takePort(std::optional<std::uint16_t>& port);
    [[nodiscard]] std::optional<std::uint16_t> nextPort();
    /// The probe of `port` is over.
    void record(std::uint16_t port, ProbeAttempt::Outcome outcome);
    void laneEnded();
    void drop();

    const RemotePairingProbe::Scan scan_;
    const std::shared_ptr<const std::vector<HostAddress>> addresses_;
    NetworkThreads& network_;
    RandomSource& random_;
    /// Each lane is kept by its own handlers alone: it has a timer and a socket on its loop, and dies with
    /// that loop.
    std::vector<std::weak_ptr<Lane>> lanes_;

    /// Held while a callback of the owner runs, so callbacks do not overlap; guards the next five.
    mutable std::mutex mutex_;
    RemotePairingScanReport report_;
    bool preferredTaken_ = false;
    std::uint32_t cursor_;
    bool dispatching_ = true;
    std::size_t inFlight_ = 0;
    std::size_t mostInFlight_ = 0;
    bool dropped_ = false;

    /// What `run` waits for. Apart from the rest, since a callback of the owner may itself request the stop.
    std::mutex waiting_;
    std::condition_variable changed_;
    std::size_t lanesRunning_ = 0;
    bool stopped_ = false;
};

}  // namespace quillbay
