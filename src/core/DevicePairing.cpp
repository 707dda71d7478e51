#include "core/DevicePairing.h"

#include "platform/Text.h"

namespace quillbay {

DeviceProfile draftProfile(const CapturedBonjourService& service, std::string_view displayName) {
    DeviceProfile profile = DeviceProfile::draft(trimmed(displayName));
    takeRecord(profile, service);
    return profile;
}

void takeRecord(DeviceProfile& profile, const CapturedBonjourService& service) {
    profile.bonjourName = service.name;
    profile.bonjourHost = service.host;
    profile.serviceType = service.serviceType;
    profile.remotePairingPort = service.port;
    profile.txtRecord = service.txt;
}

bool applyPeer(DeviceProfile& profile, const std::string& providerID, const MeshVPNDevice& peer) {
    if (peer.ipAddresses.empty()) return false;
    profile.providerID = providerID;
    profile.providerHostName = peer.hostName;
    profile.providerIP = peer.ipAddresses.front();
    return true;
}

bool applyManualAddress(DeviceProfile& profile, const std::string& providerID, std::string_view address) {
    const std::string withoutBlanks = trimmedBlanks(address);
    if (withoutBlanks.empty()) return false;
    profile.providerID = providerID;
    profile.providerHostName = withoutBlanks;
    profile.providerIP = withoutBlanks;
    return true;
}

}  // namespace quillbay
