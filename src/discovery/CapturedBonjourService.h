#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace quillbay {

/// One phone seen on the local network, as its Bonjour records described it. A plain value, compared field by
/// field.
struct CapturedBonjourService {
    /// The instance name, without the service type.
    std::string name;
    std::string serviceType;
    std::string domain;
    /// The host name without a final dot, and without the suffix that a naming conflict gave it.
    std::string host;
    std::uint16_t port = 0;
    /// The TXT entries; the values are bytes. Empty while no TXT record was seen.
    std::map<std::string, std::string> txt;
    /// When there was last a sign of it.
    std::chrono::system_clock::time_point lastSeen;
    /// The name that the developer tools have for it; nothing while they do not know it.
    std::optional<std::string> resolvedDeviceName;

    bool operator==(const CapturedBonjourService&) const = default;

    /// What tells one phone from another: its host.
    [[nodiscard]] const std::string& id() const { return host; }
};

}  // namespace quillbay
