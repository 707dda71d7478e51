#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/FileLocations.h"
#include "profile/DeviceProfile.h"

namespace quillbay {

/// A profile in which every field differs from its default.
inline DeviceProfile exampleProfile() {
    DeviceProfile profile;
    profile.displayName = "Mirel's iPhone";
    profile.bonjourName = "3F2A-iPhone";
    profile.bonjourHost = "iPhone-von-Mirel.local";
    profile.serviceType = "_remotepairing._tcp";
    profile.remotePairingPort = 49152;
    profile.tunnelPortRangeStart = 55001;
    profile.tunnelPortRangeEnd = 58001;
    profile.providerID = "netbird";
    profile.providerHostName = "phone";
    profile.providerIP = "100.92.1.7";
    profile.txtRecord = {{"identifier", "3F2A"}, {"ver", "19"}, {"empty", ""}};
    profile.bridgeEnabled = true;
    return profile;
}

inline FileLocations locationsIn(const std::filesystem::path& folder) {
    return {.applicationSupport = folder / "support",
            .configuration = folder / "configuration",
            .temporary = folder,
            .runtime = folder};
}

inline std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void setContent(const std::filesystem::path& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
}

}  // namespace quillbay
