#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace quillbay {

/// Everything that is remembered about one iPhone that is bridged: the Bonjour identity that it had on the
/// local network, the mesh-VPN peer through which it is reached, the ports, and whether its bridge is wanted.
/// A plain value, compared field by field.
struct DeviceProfile {
    std::string displayName;
    std::string bonjourName;
    std::string bonjourHost;
    std::string serviceType;
    /// The phone's RemotePairing TCP port as last learned; 0 while it is not known.
    std::uint16_t remotePairingPort = 0;
    /// First and last port (inclusive) of the range that is relayed for the phone's tunnel.
    std::uint16_t tunnelPortRangeStart = 0;
    std::uint16_t tunnelPortRangeEnd = 0;
    /// A provider's identifier, or "manual" for a typed-in address; absent only in a draft.
    std::optional<std::string> providerID;
    std::string providerHostName;
    /// The phone's address inside the mesh VPN.
    std::string providerIP;
    /// The TXT record of the captured registration; the values are bytes.
    std::map<std::string, std::string> txtRecord;
    /// Whether the user left the bridge on. Absent is not the same as false.
    std::optional<bool> bridgeEnabled;

    bool operator==(const DeviceProfile&) const = default;

    /// `bonjourHost` + "#" + `providerID` (empty when absent): the key of every per-profile map.
    [[nodiscard]] std::string id() const;

    /// The provider's name for display: "Manual IP", a known provider's name, or "Tailscale" for any other.
    [[nodiscard]] std::string providerDisplayName() const;

    /// A new profile that is not yet paired.
    static DeviceProfile draft(std::string displayName);
};

}  // namespace quillbay
