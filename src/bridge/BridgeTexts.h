#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/RemotePairingProbe.h"
#include "profile/DeviceProfile.h"

namespace quillbay {

// The failure texts of a bridge. The sentences for the person at the screen are found by phrases in these
// texts, so a change here needs a look at UserFacingConnectionError.

/// The phone still answers on the local network; `detail` says who saw it.
std::string stillLiveMessage(const DeviceProfile& profile, const std::string& detail);

/// The phone's RemotePairing port did not answer as one, and no scan was allowed.
std::string unreachableMessage(const DeviceProfile& profile, std::uint16_t port,
                               RemotePairingProbeResult probe);

/// A scan found no RemotePairing service.
std::string noServiceMessage(const DeviceProfile& profile, const std::vector<std::uint16_t>& openButSilent);

/// A relay of the control channel failed after it was up.
std::string criticalRelayFailureMessage(const std::string& transport, std::uint16_t port,
                                        const std::string& printedError);

}  // namespace quillbay
