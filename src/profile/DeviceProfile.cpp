#include "profile/DeviceProfile.h"

#include <utility>

#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay {

std::string DeviceProfile::id() const {
    return bonjourHost + "#" + providerID.value_or("");
}

std::string DeviceProfile::providerDisplayName() const {
    if (providerID == "manual") return "Manual IP";
    if (providerID) {
        if (const MeshVPNProviderType* type = MeshVPNProviderRegistry::provider(*providerID)) {
            return type->displayName;
        }
    }
    return "Tailscale";
}

DeviceProfile DeviceProfile::draft(std::string displayName) {
    DeviceProfile profile;
    profile.displayName = std::move(displayName);
    profile.serviceType = "_remotepairing._tcp";
    profile.tunnelPortRangeStart = 55000;
    profile.tunnelPortRangeEnd = 58000;
    profile.bridgeEnabled = false;
    return profile;
}

}  // namespace quillbay
