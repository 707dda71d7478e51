#include "core/AppCoordinator.h"

#include <fmt/format.h>

#include <exception>
#include <system_error>
#include <utility>

#include "core/UserFacingConnectionError.h"
#include "core/Version.h"
#include "platform/PrintedError.h"
#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay {

std::shared_ptr<AppCoordinator> AppCoordinator::make(const Host& host, NetworkQuestions questions) {
    ServiceQuestion serviceQuestion = std::move(questions.serviceQuestion);
    std::shared_ptr<AppCoordinator> coordinator(new AppCoordinator(host, std::move(questions.presenceCheck)));
    coordinator->askForServices(std::move(serviceQuestion));
    coordinator->receiveCapture();
    coordinator->watchAddress();
    return coordinator;
}

AppCoordinator::AppCoordinator(const Host& host, PresenceCheck presenceCheck)
    : host_(host),
      presenceCheck_(std::move(presenceCheck)),
      logs_(host.files, host.clock),
      settings_(host.files),
      bonjourCapture_(host),
      profileStore_(host.files, applicationFolder),
      interfaceMonitor_(host),
      deviceCtlLister_(host.tools, host.files, host.random),
      profiles_(profileStore_.load()) {
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all())
        providersByID_.emplace(type.id, makeProvider(type));
    refreshInstalledProviders();
    logs_.diagnostic(std::string("Quillbay started — version ") + applicationVersion());
    restoreAccess();
    DNSServiceProxy::killAllOrphanedProxyProcesses(
        host_.tools, [this](const std::string& line) { logs_.diagnostic(line); });
}

AppCoordinator::~AppCoordinator() {
    if (namesRefresh_.work) namesRefresh_.work->requestStop();
    for (const auto& [id, refresh] : refreshByProviderID_)
        if (refresh.work) refresh.work->requestStop();
}

void AppCoordinator::watchAddress() {
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
    for (const auto& [id, bridge] : bridgesByProfileID_) {
        cancelScansOf(*bridge);
        bridge->start(false);
    }
}

std::optional<std::string> AppCoordinator::localIP() const {
    return host_.ipv4Address(host_.interfaceName());
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
    const auto bridge = makeBridge(profile);
    attach(*bridge, profile);
    bridgesByProfileID_[id] = bridge;
    bridge->start(scanIfPortStale);
}

std::shared_ptr<ProxyBridge> AppCoordinator::makeBridge(const DeviceProfile& profile) const {
    return ProxyBridge::make(
        host_, profile, [&host = host_] { return host.ipv4Address(host.interfaceName()); }, presenceCheck_,
        access_);
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
    bridge.onProxyHostChanged = [hosts = proxyHosts_,
                                 id = profile.id()](const std::optional<std::string>& host) {
        if (host)
            hosts->insert(id, *host);
        else
            hosts->remove(id);
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
        cancelScansOf(*bridge->second);
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

void AppCoordinator::setStatus(const std::string& profileID, BridgeStatus status) {
    BridgeStatus& entry = statusByProfileID_[profileID];
    entry = std::move(status);
    // A copy: an observer may change the map.
    statusChanged.notify(profileID, BridgeStatus(entry));
    published.notify(Published::statuses);
}

BridgeStatus AppCoordinator::status(const std::string& profileID) const {
    const auto entry = statusByProfileID_.find(profileID);
    return entry == statusByProfileID_.end() ? BridgeStatus::off() : entry->second;
}

void AppCoordinator::setLaunchAtLoginEnabled(bool enabled) {
    if (launchAtLoginEnabled_ == enabled) return;
    launchAtLoginEnabled_ = enabled;
    published.notify(Published::launchAtLogin);
}

std::optional<std::string> AppCoordinator::keepSetting(const std::string& what,
                                                       const std::function<void(SettingsStore&)>& change) {
    try {
        change(settings_);
        return std::nullopt;
    } catch (const std::exception& error) {
        logs_.diagnostic(what + " could not be saved: " + printedError(error));
        const auto* system = dynamic_cast<const std::system_error*>(&error);
        return system != nullptr ? system->code().message() : error.what();
    }
}

BridgeStatus AppCoordinator::overallStatus() const {
    for (const auto kind : {BridgeStatus::Kind::on, BridgeStatus::Kind::pairing, BridgeStatus::Kind::error})
        for (const auto& [id, status] : statusByProfileID_)
            if (status.kind == kind) return status;
    return BridgeStatus::off();
}

}  // namespace quillbay
