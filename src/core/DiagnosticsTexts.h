#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/BridgeStatus.h"

namespace quillbay {

/// What the support team is told about this computer and its profiles.
struct DiagnosticsFacts {
    struct Profile {
        std::string displayName;
        std::string providerDisplayName;
        std::string providerIP;
        std::uint16_t remotePairingPort = 0;
        bool bridgeEnabled = false;
        BridgeStatus status;
    };

    std::chrono::system_clock::time_point exported;
    std::string version;
    std::string operatingSystemVersion;
    std::string computerName;
    /// The interface of the local network, and this computer's address on it.
    std::string interfaceName;
    std::optional<std::string> localIP;
    /// Their names for display.
    std::vector<std::string> installedProviders;
    std::vector<Profile> profiles;
};

/// What stands above the log in a report: lines without a line feed after the last. Texts that come from
/// people, such as a phone's name, stand there as they are.
std::string diagnosticsHeader(const DiagnosticsFacts& facts);

/// The prepared text of the mail to the support team.
std::string supportEmailBody(const DiagnosticsFacts& facts);

/// The time as "yyyy-MM-dd HH:mm:ss" in the computer's time zone, 24-hour clock.
std::string timestampForHeader(std::chrono::system_clock::time_point date);

}  // namespace quillbay
