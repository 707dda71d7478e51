#include "bridge/PairingRelays.h"

#include <fmt/format.h>

#include <chrono>

#include "bridge/RelayBindError.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

constexpr std::chrono::milliseconds bindTime{2000};

template <typename Relay>
std::unique_ptr<Relay> startRelay(NetworkThreads& network, const PairingRelayRequest& request,
                                  std::uint16_t localPort) {
    auto relay = std::make_unique<Relay>(network, request.localIP, localPort, request.remoteHost,
                                         request.remotePort, request.access);
    relay->startBlocking(bindTime);
    return relay;
}

/// Only for relays that are kept: the failure of an attempt that was given up is no news.
void reportFailures(PairingRelays& relays, const PairingRelayRequest& request) {
    if (!request.onFailure) return;
    const auto report = [&](const char* transport) {
        return [onFailure = request.onFailure, port = relays.localPort, transport](std::exception_ptr error) {
            onFailure(port, transport, std::move(error));
        };
    };
    relays.tcp->onError = report("TCP");
    relays.udp->onError = report("UDP");
}

}  // namespace

PairingRelays bindPairingRelays(NetworkThreads& network, const PairingRelayRequest& request) {
    const auto log = [&request](const std::string& line) {
        if (request.onLog) request.onLog(request.displayName + ": " + line);
    };
    std::exception_ptr lastError = std::make_exception_ptr(RelayBindError::timedOut());
    for (unsigned attempt = 0; attempt < request.maxAttempts; ++attempt) {
        const unsigned candidate = request.remotePort + attempt;
        if (candidate > 65535) break;
        const auto port = static_cast<std::uint16_t>(candidate);
        PairingRelays relays{port, nullptr, nullptr};
        try {
            relays.tcp = startRelay<TCPRelay>(network, request, port);
        } catch (const std::exception& error) {
            lastError = std::current_exception();
            // That the phone's own port is taken here is common (the pairing daemon of this computer) and no
            // news.
            if (attempt > 0)
                log(fmt::format("local port {} unavailable for TCP ({}), trying next…", port,
                                printedError(error)));
            continue;
        }
        try {
            relays.udp = startRelay<UDPRelay>(network, request, port);
        } catch (const std::exception& error) {
            lastError = std::current_exception();
            relays.tcp->stop();
            log(fmt::format("local port {} usable for TCP but not UDP ({}), trying next…", port,
                            printedError(error)));
            continue;
        }
        if (attempt > 0)
            log(fmt::format(
                "local port {} was unavailable on this Mac — relaying the RemotePairing control channel "
                "on {} instead.",
                request.remotePort, port));
        reportFailures(relays, request);
        return relays;
    }
    std::rethrow_exception(lastError);
}

}  // namespace quillbay
