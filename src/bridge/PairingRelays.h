#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "bridge/TCPRelay.h"
#include "bridge/UDPRelay.h"

namespace quillbay {

/// The relays of the RemotePairing control channel, up and running on one local port.
struct PairingRelays {
    std::uint16_t localPort = 0;
    std::unique_ptr<TCPRelay> tcp;
    std::unique_ptr<UDPRelay> udp;
};

/// What it takes to bind them.
struct PairingRelayRequest {
    std::string localIP;
    std::string remoteHost;
    std::uint16_t remotePort = 0;
    /// How many local ports are tried, from `remotePort` upwards and never above 65535.
    unsigned maxAttempts = 32;
    std::string displayName;
    /// Who may use the relays; nothing for everybody.
    std::shared_ptr<RelayAccess> access;
    /// May be empty.
    std::function<void(const std::string&)> onLog;
    /// Told on the relay's queue when a relay fails after it was up ("TCP" or "UDP"); may be empty.
    std::function<void(std::uint16_t localPort, std::string transport, std::exception_ptr error)> onFailure;
};

/// Opens the control channel's relays on the first local port that is free for TCP and for UDP. Blocks its
/// caller, the main thread, for up to two seconds per attempt and transport. Throws the error of the last
/// attempt, and RelayBindError when there was none.
PairingRelays bindPairingRelays(NetworkThreads& network, const PairingRelayRequest& request);

}  // namespace quillbay
