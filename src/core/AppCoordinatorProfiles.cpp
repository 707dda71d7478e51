// The coordinator's list of profiles, which is always what the store has.

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "core/AppCoordinator.h"

namespace quillbay {

void AppCoordinator::setBridgeEnabled(bool enabled, const std::string& profileID) {
    const DeviceProfile* stored = storedProfile(profileID);
    if (stored == nullptr) return;
    // Absent counts as off, and stays absent until the bridge is switched on.
    if (stored->bridgeEnabled.value_or(false) == enabled) return;
    DeviceProfile changed = *stored;
    changed.bridgeEnabled = enabled;
    saveProfile(changed, SaveAnnouncement::silent);
}

void AppCoordinator::updateRemotePairingPort(std::uint16_t port, const std::string& profileID) {
    const DeviceProfile* stored = storedProfile(profileID);
    if (stored == nullptr || stored->remotePairingPort == port) return;
    logs_.diagnostic(fmt::format("{}: RemotePairing port updated {} → {}", stored->displayName,
                                 stored->remotePairingPort, port));
    DeviceProfile changed = *stored;
    changed.remotePairingPort = port;
    saveProfile(changed, SaveAnnouncement::announced);
}

void AppCoordinator::saveProfile(DeviceProfile profile, SaveAnnouncement announcement) {
    const std::string id = profile.id();
    const bool isNew = storedProfile(id) == nullptr;
    const bool announce = announcement == SaveAnnouncement::announced;
    const std::string what = isNew ? "added" : "updated";
    profileStore_.upsert(profile);
    reloadProfiles();
    logs_.diagnostic(fmt::format(
        "Profile {}: \"{}\" id={} host={} provider={} ip={} port={} range={}-{} bridgeEnabled={}",
        announce ? what : "persisted", profile.displayName, id, profile.bonjourHost,
        profile.providerDisplayName(), profile.providerIP, profile.remotePairingPort,
        profile.tunnelPortRangeStart, profile.tunnelPortRangeEnd, profile.bridgeEnabled.value_or(false)));
    if (announce) logs_.user("Device \"" + profile.displayName + "\" " + what + ".");
}

void AppCoordinator::deleteProfile(DeviceProfile profile) {
    const std::string id = profile.id();
    cancelDiagnose(id);
    teardownBridge(id, CloseAnnouncement::announced, profile.displayName);
    setBridgeEnabled(false, profile.id());
    profileStore_.remove(id);
    reloadProfiles();
    logs_.diagnostic("Profile removed: \"" + profile.displayName + "\" id=" + id);
}

void AppCoordinator::reloadProfiles() {
    profiles_ = profileStore_.load();
    published.notify(Published::profiles);
}

const DeviceProfile* AppCoordinator::storedProfile(const std::string& profileID) const {
    const auto found = std::find_if(profiles_.begin(), profiles_.end(),
                                    [&](const DeviceProfile& profile) { return profile.id() == profileID; });
    return found == profiles_.end() ? nullptr : &*found;
}

}  // namespace quillbay
