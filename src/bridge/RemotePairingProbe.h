#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/NetworkThreads.h"
#include "platform/RandomSource.h"
#include "platform/StopToken.h"

namespace quillbay {

/// What a TCP port of the phone turned out to be.
enum class RemotePairingProbeResult {
    /// The connection was actively refused.
    refused,
    /// No connection could be made in time, or the host name did not resolve.
    noResponse,
    /// Connected, but the handshake could not be sent or no reply came in time.
    openButSilent,
    /// Connected, and at least one byte came back after the handshake.
    remotePairingPort,
};

/// The verdict as the bridge's log words it; empty for success.
std::string describe(RemotePairingProbeResult result);

struct RemotePairingScanReport {
    std::optional<std::uint16_t> port;
    /// In the order in which their probes finished.
    std::vector<std::uint16_t> openButSilent;
};

/// Tells whether a TCP port is the phone's RemotePairing control channel, and finds the port that is.
///
/// The probes are state machines on the network threads; `probe` and `scanForControlChannel` block their
/// caller (a background thread, never the main or a network thread) until the answer is there or `token` is
/// stopped.
class RemotePairingProbe {
 public:
    /// `network` and `random` must outlive the probe and everything that it started.
    RemotePairingProbe(NetworkThreads& network, RandomSource& random);

    struct Target {
        std::string host;
        std::uint16_t port = 0;
        std::int64_t wireProtocolVersion = 0;
    };

    /// Never fails: every failure is one of the verdicts. A stopped probe answers `noResponse` at once.
    RemotePairingProbeResult probe(const Target& target, std::chrono::milliseconds connectTimeout,
                                   std::chrono::milliseconds replyTimeout, const StopToken& token);

    struct Scan {
        std::string host;
        /// Probed first when it is given, also when it lies outside the range; not probed again inside it.
        std::optional<std::uint16_t> preferred;
        std::uint16_t firstPort = 49152;
        std::uint16_t lastPort = 65535;
        std::int64_t wireProtocolVersion = 0;
        /// For the connect and for the reply, each.
        std::chrono::milliseconds timeout{2000};
        unsigned concurrency = 96;
        /// Told each port just probed, once each, on a network thread; may be empty.
        std::function<void(std::uint16_t)> onProgress;
        /// Asked before each new probe, on any thread; the scan ends early when it answers false. May be
        /// empty.
        std::function<bool()> shouldContinue;

        // Neither callback overlaps itself or the other one, none is called after the scan has returned, and
        // none may block or throw.

        /// How many ports a scan probes that nothing ends early.
        [[nodiscard]] std::size_t portCount() const;
    };

    /// Dispatches until a port has answered, `shouldContinue` answers false or `token` is stopped, waits for
    /// the probes that run (in the last case it drops them), and returns what was recorded.
    RemotePairingScanReport scanForControlChannel(const Scan& scan, const StopToken& token);

 private:
    NetworkThreads& network_;
    RandomSource& random_;
};

}  // namespace quillbay
