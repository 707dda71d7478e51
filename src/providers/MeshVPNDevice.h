#pragma once

#include <string>
#include <vector>

namespace quillbay {

/// One peer of the user's mesh VPN.
struct MeshVPNDevice {
    /// As the VPN reports it.
    std::string hostName;
    /// In the order in which the VPN reports them.
    std::vector<std::string> ipAddresses;
    /// Whether the VPN reports the peer as connected.
    bool online = false;

    bool operator==(const MeshVPNDevice&) const = default;
};

}  // namespace quillbay
