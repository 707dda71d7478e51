#include "bridge/RemotePairingProbe.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include "bridge/HostAddresses.h"
#include "bridge/PortScan.h"
#include "bridge/ProbeAttempt.h"

namespace quillbay {

namespace {

/// How often a single probe asks again for a descriptor while there is none.
constexpr std::chrono::milliseconds shortagePause{50};

/// Where an attempt's outcome is handed from its network thread to the thread that waits for it.
struct Answer {
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
    ProbeAttempt::Outcome outcome;

    void end(ProbeAttempt::Outcome value) {
        const std::lock_guard lock(mutex);
        ended = true;
        outcome = value;
        changed.notify_all();
    }
};

/// Runs one attempt and blocks until it has an outcome or the stop, which drops it.
ProbeAttempt::Outcome ask(boost::asio::io_context& loop, RandomSource& random,
                          const ProbeAttempt::Question& question, const StopToken& token) {
    const auto answer = std::make_shared<Answer>();
    const auto attempt = std::make_shared<ProbeAttempt>(
        loop, random, question, [answer](ProbeAttempt::Outcome outcome) { answer->end(outcome); });
    boost::asio::post(loop, [attempt] { attempt->start(); });

    const StopRegistration registration = token.onStop([answer] { answer->end(std::nullopt); });
    std::unique_lock lock(answer->mutex);
    answer->changed.wait(lock, [&answer] { return answer->ended; });
    const ProbeAttempt::Outcome outcome = answer->outcome;
    lock.unlock();
    if (token.stopRequested()) boost::asio::post(loop, [attempt] { attempt->cancel(); });
    return outcome;
}

}  // namespace

std::string describe(RemotePairingProbeResult result) {
    switch (result) {
        case RemotePairingProbeResult::refused:
            return "connection refused, port closed";
        case RemotePairingProbeResult::noResponse:
            return "no response";
        case RemotePairingProbeResult::openButSilent:
            return "port open but not speaking RemotePairing protocol";
        case RemotePairingProbeResult::remotePairingPort:
            break;
    }
    return {};
}

std::size_t RemotePairingProbe::Scan::portCount() const {
    const std::size_t inRange = firstPort > lastPort ? 0 : std::size_t{1} + lastPort - firstPort;
    const bool extra = preferred && (*preferred < firstPort || *preferred > lastPort);
    return inRange + (extra ? 1 : 0);
}

RemotePairingProbe::RemotePairingProbe(NetworkThreads& network, RandomSource& random)
    : network_(network), random_(random) {}

RemotePairingProbeResult RemotePairingProbe::probe(const Target& target,
                                                   std::chrono::milliseconds connectTimeout,
                                                   std::chrono::milliseconds replyTimeout,
                                                   const StopToken& token) {
    if (token.stopRequested()) return RemotePairingProbeResult::noResponse;
    const auto addresses = std::make_shared<const std::vector<HostAddress>>(resolveHost(target.host));
    const ProbeAttempt::Question question{addresses, target.port, target.wireProtocolVersion, connectTimeout,
                                          replyTimeout};
    // A shortage of descriptors is waited out for as long as one address would be.
    const auto patience = std::chrono::steady_clock::now() + connectTimeout;
    do {
        const auto outcome = ask(network_.contextFor(target.port), random_, question, token);
        if (outcome) return *outcome;
    } while (std::chrono::steady_clock::now() < patience && token.sleepFor(shortagePause));
    return RemotePairingProbeResult::noResponse;
}

RemotePairingScanReport RemotePairingProbe::scanForControlChannel(const Scan& scan, const StopToken& token) {
    if (token.stopRequested()) return {};
    std::vector<HostAddress> addresses = resolveHost(scan.host);
    // A host without an address cannot answer on any port.
    if (addresses.empty()) return {};
    return std::make_shared<PortScan>(network_, random_, scan, std::move(addresses))->run(token);
}

}  // namespace quillbay
