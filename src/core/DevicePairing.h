#pragma once

#include <string>
#include <string_view>

#include "discovery/CapturedBonjourService.h"
#include "profile/DeviceProfile.h"
#include "providers/MeshVPNDevice.h"

namespace quillbay {

// How a phone that was seen on the local network and a way to reach it from elsewhere become a profile.

/// The provider's identifier for an address that was typed in.
inline constexpr const char* manualProviderID = "manual";

/// A new profile of the captured phone, not yet reachable from elsewhere. The name loses the white space and
/// line breaks around it.
DeviceProfile draftProfile(const CapturedBonjourService& service, std::string_view displayName);

/// Takes the captured record into a profile that exists: it is now a profile of that phone.
void takeRecord(DeviceProfile& profile, const CapturedBonjourService& service);

/// The phone is this peer of the provider's VPN, at the peer's first address. False, and nothing changes,
/// when the peer has none.
bool applyPeer(DeviceProfile& profile, const std::string& providerID, const MeshVPNDevice& peer);

/// The phone is at this address, which loses the blanks (no line breaks) around it. False, and nothing
/// changes, when nothing is left.
bool applyManualAddress(DeviceProfile& profile, const std::string& providerID, std::string_view address);

}  // namespace quillbay
