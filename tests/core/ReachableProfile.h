#pragma once

#include <cstdint>
#include <string>

#include "profile/DeviceProfile.h"

namespace quillbay {

/// The profile of a phone that answers at this address and port, with a tunnel range of two ports.
inline DeviceProfile reachableProfile(const std::string& name, const std::string& address,
                                      std::uint16_t port) {
    DeviceProfile made = DeviceProfile::draft(name);
    made.bonjourName = name + "-instance";
    made.bonjourHost = name + ".local";
    made.providerID = "tailscale";
    made.providerHostName = name;
    made.providerIP = address;
    made.remotePairingPort = port;
    made.tunnelPortRangeStart = 40001;
    made.tunnelPortRangeEnd = 40002;
    return made;
}

}  // namespace quillbay
