// The part of ControlCommands that makes a profile of a phone.

#include <algorithm>
#include <utility>

#include "control/ControlCommands.h"
#include "control/ControlDocuments.h"
#include "control/ControlLookup.h"
#include "control/ControlNames.h"
#include "core/DevicePairing.h"

namespace quillbay {

void ControlCommands::carryOut(const control::Pair& request, const Answer& answer) {
    // What can be refused at once is.
    static_cast<void>(control::checkedDisplayName(request.name));
    if (request.address) control::checkAddress(*request.address);
    const std::string provider = request.provider.value_or(manualProviderID);
    if (request.peer || provider != manualProviderID) static_cast<void>(control::findProvider(provider));
    whenPhonesAreKnown(answer, [this, request, weak = std::weak_ptr(answer)] {
        const auto kept = weak.lock();
        if (!kept) return;
        // A copy: the phone may leave the network while its peer is looked up.
        const CapturedBonjourService service =
            control::findService(coordinator_.capturedServices(), request.host);
        pair(request, service, kept);
    });
}

void ControlCommands::pair(const control::Pair& request, const CapturedBonjourService& service,
                           const Answer& answer) {
    const std::string providerID = request.provider.value_or(manualProviderID);
    if (request.address) {
        savePaired(
            request, service, providerID,
            [&](DeviceProfile& profile) {
                // It is not empty, or it would have been refused.
                static_cast<void>(applyManualAddress(profile, providerID, *request.address));
            },
            answer);
        return;
    }
    const MeshVPNProviderType& provider = control::findProvider(providerID);
    withPeers(provider, answer,
              [this, request, service, &provider, answer](const std::vector<MeshVPNDevice>& peers) {
                  const MeshVPNDevice& peer = control::findPeer(peers, request.peer.value_or(""), provider);
                  const auto connect = [&](DeviceProfile& profile) {
                      // It has an address, or it would not have been found.
                      static_cast<void>(applyPeer(profile, provider.id, peer));
                  };
                  savePaired(request, service, provider.id, connect, answer);
              });
}

void ControlCommands::savePaired(const control::Pair& request, const CapturedBonjourService& service,
                                 const std::string& providerID,
                                 const std::function<void(DeviceProfile&)>& connect, const Answer& answer) {
    DeviceProfile profile = draftProfile(service, control::checkedDisplayName(request.name));
    profile.providerID = providerID;
    const auto& profiles = coordinator_.profiles();
    const auto stored = std::find_if(profiles.begin(), profiles.end(),
                                     [&](const DeviceProfile& known) { return known.id() == profile.id(); });
    // Pairing a phone anew keeps what is not about the pairing: its tunnel ports, and whether its bridge is
    // wanted.
    if (stored != profiles.end()) {
        profile.tunnelPortRangeStart = stored->tunnelPortRangeStart;
        profile.tunnelPortRangeEnd = stored->tunnelPortRangeEnd;
        profile.bridgeEnabled = stored->bridgeEnabled;
    }
    connect(profile);
    coordinator_.saveProfile(profile, AppCoordinator::SaveAnnouncement::announced);
    control::requireKept(coordinator_.profiles(), profile);
    answer->last(control::idDocument(profile.id()));
}

}  // namespace quillbay
