#include "bridge/BridgeTexts.h"

#include <fmt/format.h>

namespace quillbay {

std::string stillLiveMessage(const DeviceProfile& profile, const std::string& detail) {
    return fmt::format(
        "'{}' is still live on the local network [{}] — bridge not started before the device is actually "
        "remote "
        "(risk of conflict).",
        profile.bonjourHost, detail);
}

std::string unreachableMessage(const DeviceProfile& profile, std::uint16_t port,
                               RemotePairingProbeResult probe) {
    const std::string endpoint = fmt::format("{}:{}", profile.providerIP, port);
    const std::string provider = profile.providerDisplayName();
    switch (probe) {
        case RemotePairingProbeResult::refused:
            return endpoint +
                   " refused the connection — the device's RemotePairing port may have changed. Use 'Scan "
                   "port' to "
                   "find the current port.";
        case RemotePairingProbeResult::noResponse:
            return fmt::format("{} is not responding — confirm {} is connected on the iPhone.", endpoint,
                               provider);
        case RemotePairingProbeResult::openButSilent:
        case RemotePairingProbeResult::remotePairingPort:
            break;
    }
    return fmt::format(
        "{} is open but not speaking the RemotePairing protocol (this port is likely {}'s own service). Use "
        "'Scan "
        "port' to find the correct port.",
        endpoint, provider);
}

std::string noServiceMessage(const DeviceProfile& profile, const std::vector<std::uint16_t>& openButSilent) {
    const std::string provider = profile.providerDisplayName();
    const std::string begin =
        fmt::format("No RemotePairing service found on {} (scanned 49152-65535). ", profile.providerIP);
    if (openButSilent.empty())
        return begin +
               fmt::format("None of the device's ports responded — confirm {} is connected on the iPhone.",
                           provider);
    return begin +
           fmt::format(
               "The {0} connection is healthy (open ports that don't speak the protocol: {1}) — so the "
               "problem isn't the network, the iPhone isn't exposing remotepairingd on the {0} interface. On "
               "the iPhone, check Settings > Developer > Wireless Debugging and confirm {0} allows incoming "
               "connections.",
               provider, fmt::join(openButSilent, ", "));
}

std::string criticalRelayFailureMessage(const std::string& transport, std::uint16_t port,
                                        const std::string& printedError) {
    return fmt::format(
        "{} relay for the RemotePairing control channel (local port {}) failed after it was already up: {}.",
        transport, port, printedError);
}

}  // namespace quillbay
