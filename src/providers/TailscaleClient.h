#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/BinaryPath.h"

namespace quillbay {

/// One peer as Tailscale's client reports it.
struct TailscaleDevice {
    std::string hostName;
    std::vector<std::string> tailscaleIPs;
    bool online = false;
    std::string dnsName;

    bool operator==(const TailscaleDevice&) const = default;
};

/// The peers of a `tailscale status --json` document, in its order; this computer itself is not among them.
///
///     {"Peer": {"nodekey:…": {"HostName": "phone", "DNSName": "phone.tail1234.ts.net.",
///                             "TailscaleIPs": ["100.64.0.7", "fd7a:115c:a1e0::7"], "Online": true, …}, …},
///                             …}
///
/// Every member may be missing or null; one of a wrong type throws JSONError. A peer key that occurs twice
/// counts with its last value, in its first place.
std::vector<TailscaleDevice> decodeTailscaleStatus(std::string_view document);

/// Runs Tailscale's command-line client.
class TailscaleClient {
 public:
    TailscaleClient(std::optional<std::string> binaryPath, ExecutableTest isExecutable);

    /// As MeshVPNProvider::listDevices.
    [[nodiscard]] std::vector<TailscaleDevice> listDevices(const StopToken& token) const;

    BinaryPath binaryPath;
};

}  // namespace quillbay
