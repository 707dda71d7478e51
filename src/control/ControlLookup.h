#pragma once

#include <string>
#include <vector>

#include "discovery/CapturedBonjourService.h"
#include "profile/DeviceProfile.h"
#include "providers/MeshVPNProvider.h"

/// What a client means by a name, and whether what it asked for came to be. All functions throw
/// RefusedRequest: with a sentence that says what there is to choose from when a text fits nothing or several
/// things.
namespace quillbay::control {

/// The profile with this id; without one, the only one with this display name or this host.
const DeviceProfile& findProfile(const std::vector<DeviceProfile>& profiles, const std::string& text);

/// The captured service with this host; without one, the only one with this name. Letters count the same in
/// either case.
const CapturedBonjourService& findService(const std::vector<CapturedBonjourService>& services,
                                          const std::string& text);

/// The only peer with exactly this name. It has an address.
const MeshVPNDevice& findPeer(const std::vector<MeshVPNDevice>& peers, const std::string& name,
                              const MeshVPNProviderType& provider);

/// Throws unless the profile is among these, as it is: what could not be written is not in the list that is
/// read back.
void requireKept(const std::vector<DeviceProfile>& profiles, const DeviceProfile& profile);

/// Throws unless no profile with this id is among these any more.
void requireRemoved(const std::vector<DeviceProfile>& profiles, const std::string& id);

/// A mesh VPN that is known.
const MeshVPNProviderType& findProvider(const std::string& id);

}  // namespace quillbay::control
