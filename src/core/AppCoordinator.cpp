#include "core/AppCoordinator.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "core/UserFacingConnectionError.h"
#include "core/Version.h"
#include "platform/PrintedError.h"
#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay {

std::shared_ptr<AppCoordinator> AppCoordinator::make(const Host& host, PresenceCheck presenceCheck) {
    std::shared_ptr<AppCoordinator> coordinator(new AppCoordinator(host, std::move(presenceCheck)));
    coordinator->beginWatching();
    return coordinator;
}

AppCoordinator::AppCoordinator(const Host& host, PresenceCheck presenceCheck)
    : host_(host),
      presenceCheck_(std::move(presenceCheck)),
      logs_(host.files, host.clock),
      profileStore_(host.files, applicationFolder),
      interfaceMonitor_(host),
      profiles_(profileStore_.load()) {
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all())
        providersByID_.emplace(type.id, type.makeProvider());
    refreshInstalledProviders();
    logs_.diagnostic(std::string("Quillbay started — version ") + applicationVersion());
    DNSServiceProxy::killAllOrphanedProxyProcesses(
        host_.tools, [this](const std::string& line) { logs_.diagnostic(line); });
}

AppCoordinator::~AppCoordinator() = default;

void AppCoordinator::beginWatching() {
    interfaceMonitor_.onChange = [weak = weak_from_this(),
                                  &mainQueue = host_.mainQueue](const std::optional<std::string>& address) {
        mainQueue.post([weak, address] {
            if (const auto coordinator = weak.lock()) coordinator->handleAddressChange(address);
        });
    };
    try {
        interfaceMonitor_.start();
    } catch (const std::exception& error) {
        logs_.diagnostic("Changes of the local address cannot be watched: " + printedError(error));
    }
}

void AppCoordinator::handleAddressChange(const std::optional<std::string>& address) {
    logs_.diagnostic(host_.interfaceName() + " IP changed: " + address.value_or("none") +
                     " — restarting bridges");
    for (const auto& [id, bridge] : bridgesByProfileID_)
        bridge->start(false);
}

std::optional<std::string> AppCoordinator::localIP() const {
    return host_.ipv4Address(host_.interfaceName());
}

void AppCoordinator::refreshInstalledProviders() {
    installedProviders_.clear();
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all()) {
        const std::shared_ptr<MeshVPNProvider>& provider = providersByID_.at(type.id);
        if (provider->isInstalled()) installedProviders_.push_back(provider);
    }
}

void AppCoordinator::restorePersistedBridges() {
    // A copy: starting a bridge reads the list anew.
    const std::vector<DeviceProfile> restorable = profiles_;
    for (const DeviceProfile& profile : restorable) {
        if (!profile.bridgeEnabled.value_or(false)) continue;
        logs_.diagnostic(profile.displayName + ": restoring bridge from previous session");
        startBridge(profile, true);
    }
}

void AppCoordinator::start(DeviceProfile profile) {
    startBridge(std::move(profile), true);
}

void AppCoordinator::stop(DeviceProfile profile) {
    teardownBridge(profile.id(), CloseAnnouncement::announced, profile.displayName);
    setBridgeEnabled(false, profile.id());
}

void AppCoordinator::startBridge(DeviceProfile profile, bool scanIfPortStale) {
    const std::string id = profile.id();
    teardownBridge(id, CloseAnnouncement::silent, std::nullopt);
    setBridgeEnabled(true, id);
    logs_.user("Bridging to \"" + profile.displayName + "\"");
    logs_.diagnostic(
        fmt::format("Starting bridge for \"{}\": provider={} ip={} port={} scanIfPortStale={} localIP={}",
                    profile.displayName, profile.providerDisplayName(), profile.providerIP,
                    profile.remotePairingPort, scanIfPortStale, localIP().value_or("none")));
    const auto bridge = ProxyBridge::make(
        host_, profile, [&host = host_] { return host.ipv4Address(host.interfaceName()); }, presenceCheck_);
    attach(*bridge, profile);
    bridgesByProfileID_[id] = bridge;
    bridge->start(scanIfPortStale);
}

void AppCoordinator::attach(ProxyBridge& bridge, const DeviceProfile& profile) {
    const auto onMain = [weak = weak_from_this(), &mainQueue = host_.mainQueue](auto step) {
        mainQueue.post([weak, step = std::move(step)] {
            if (const auto coordinator = weak.lock()) step(*coordinator);
        });
    };
    bridge.onStateChanged = [onMain, profile,
                             sender = bridge.weak_from_this()](const ProxyBridgeState& state) {
        onMain([profile, sender, state](AppCoordinator& coordinator) {
            // What a bridge said before it was torn down is late news.
            const auto current = coordinator.bridgesByProfileID_.find(profile.id());
            if (current == coordinator.bridgesByProfileID_.end() || current->second != sender.lock()) return;
            coordinator.handleBridgeState(state, profile);
        });
    };
    bridge.onDiscoveredPort = [onMain, id = profile.id()](std::uint16_t port) {
        onMain([id, port](AppCoordinator& coordinator) { coordinator.updateRemotePairingPort(port, id); });
    };
    bridge.onLog = [onMain](const std::string& line) {
        onMain([line](AppCoordinator& coordinator) { coordinator.logs_.diagnostic(line); });
    };
}

void AppCoordinator::handleBridgeState(const ProxyBridgeState& state, const DeviceProfile& profile) {
    const std::string id = profile.id();
    switch (state.kind) {
        case ProxyBridgeState::Kind::idle:
            setStatus(id, BridgeStatus::off());
            break;
        case ProxyBridgeState::Kind::pairing:
            setStatus(id, BridgeStatus::pairing());
            break;
        case ProxyBridgeState::Kind::active:
            setStatus(id, BridgeStatus::on());
            logs_.diagnostic(profile.displayName + ": bridge active");
            logs_.user("Bridge is successful.");
            break;
        case ProxyBridgeState::Kind::error: {
            const std::string sentence =
                UserFacingConnectionError::message(state.message, profile.providerDisplayName());
            logs_.diagnostic(profile.displayName + ": error — " + state.message);
            setStatus(id, BridgeStatus::error(sentence));
            logs_.user("Connection error: " + sentence);
            break;
        }
    }
}

void AppCoordinator::teardownBridge(const std::string& profileID, CloseAnnouncement announcement,
                                    std::optional<std::string> displayName) {
    if (const DeviceProfile* stored = displayName ? nullptr : storedProfile(profileID))
        displayName = stored->displayName;
    const auto bridge = bridgesByProfileID_.find(profileID);
    const bool registered = bridge != bridgesByProfileID_.end();
    const bool wasRunning = registered || status(profileID).kind != BridgeStatus::Kind::off;
    if (registered) {
        bridge->second->stop();
        bridgesByProfileID_.erase(bridge);
    }
    setStatus(profileID, BridgeStatus::off());
    if (!displayName) return;
    const bool announceClose = announcement == CloseAnnouncement::announced;
    logs_.diagnostic(fmt::format("Bridge torn down for \"{}\" (announceClose={}, wasRunning={})",
                                 *displayName, announceClose, wasRunning));
    if (announceClose && wasRunning) logs_.user("Bridge is closed \"" + *displayName + "\"");
}

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
    profiles_ = profileStore_.load();
    logs_.diagnostic(fmt::format(
        "Profile {}: \"{}\" id={} host={} provider={} ip={} port={} range={}-{} bridgeEnabled={}",
        announce ? what : "persisted", profile.displayName, id, profile.bonjourHost,
        profile.providerDisplayName(), profile.providerIP, profile.remotePairingPort,
        profile.tunnelPortRangeStart, profile.tunnelPortRangeEnd, profile.bridgeEnabled.value_or(false)));
    if (announce) logs_.user("Device \"" + profile.displayName + "\" " + what + ".");
}

void AppCoordinator::deleteProfile(DeviceProfile profile) {
    const std::string id = profile.id();
    teardownBridge(id, CloseAnnouncement::announced, profile.displayName);
    setBridgeEnabled(false, profile.id());
    profileStore_.remove(id);
    profiles_ = profileStore_.load();
    logs_.diagnostic("Profile removed: \"" + profile.displayName + "\" id=" + id);
}

void AppCoordinator::setStatus(const std::string& profileID, BridgeStatus status) {
    BridgeStatus& entry = statusByProfileID_[profileID];
    entry = std::move(status);
    if (onStatusChanged) onStatusChanged(profileID, entry);
}

BridgeStatus AppCoordinator::status(const std::string& profileID) const {
    const auto entry = statusByProfileID_.find(profileID);
    return entry == statusByProfileID_.end() ? BridgeStatus::off() : entry->second;
}

BridgeStatus AppCoordinator::overallStatus() const {
    for (const auto kind : {BridgeStatus::Kind::on, BridgeStatus::Kind::pairing, BridgeStatus::Kind::error})
        for (const auto& [id, status] : statusByProfileID_)
            if (status.kind == kind) return status;
    return BridgeStatus::off();
}

const DeviceProfile* AppCoordinator::storedProfile(const std::string& profileID) const {
    const auto found = std::find_if(profiles_.begin(), profiles_.end(),
                                    [&](const DeviceProfile& profile) { return profile.id() == profileID; });
    return found == profiles_.end() ? nullptr : &*found;
}

}  // namespace quillbay
