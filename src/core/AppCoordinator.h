#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/ProxyBridge.h"
#include "core/AppLogStore.h"
#include "core/BridgeStatus.h"
#include "discovery/InterfaceMonitor.h"
#include "platform/Host.h"
#include "profile/DeviceProfile.h"
#include "profile/DeviceProfileStore.h"
#include "providers/MeshVPNProvider.h"

namespace quillbay {

/// The one object that owns every service of the running program and publishes the state that people see. It
/// lives on the main queue: all its members are called there and all published state changes there.
///
/// It has no shutdown step of its own: destroying it ends the bridges and their registrations and leaves
/// `bridgeEnabled` as it is, which is what the next run starts from.
class AppCoordinator : public std::enable_shared_from_this<AppCoordinator> {
 public:
    /// Loads the profiles, finds the installed VPN clients, ends proxy registrations that an earlier run left
    /// behind (blocking while it lists the processes) and begins to watch the local address. `host` must
    /// outlive the coordinator. Starts no bridge. Without a `presenceCheck` the bridges use the real one.
    static std::shared_ptr<AppCoordinator> make(const Host& host, PresenceCheck presenceCheck = {});
    ~AppCoordinator();
    AppCoordinator(const AppCoordinator&) = delete;
    AppCoordinator& operator=(const AppCoordinator&) = delete;

    /// Starts the bridge of every profile that the user left switched on. Called once, as the first task of
    /// the main queue.
    void restorePersistedBridges();

    // Profiles are taken by value: a caller may pass one of `profiles`, which these operations replace.

    /// The user's Start and Stop.
    void start(DeviceProfile profile);
    void stop(DeviceProfile profile);

    /// Starts the profile's bridge, after stopping one that runs.
    void startBridge(DeviceProfile profile, bool scanIfPortStale);

    /// Whether ending a bridge is told to the user.
    enum class CloseAnnouncement { silent, announced };

    /// Stops the profile's bridge, if there is one, and forgets it. Without a display name the stored one is
    /// used.
    void teardownBridge(const std::string& profileID, CloseAnnouncement announcement,
                        std::optional<std::string> displayName);

    /// Whether saving a profile is told to the user.
    enum class SaveAnnouncement { silent, announced };

    /// Stores the profile, replacing the one with the same id.
    void saveProfile(DeviceProfile profile, SaveAnnouncement announcement);

    /// Stops the profile's bridge and removes it.
    void deleteProfile(DeviceProfile profile);

    /// Persists whether the user wants the bridge running.
    void setBridgeEnabled(bool enabled, const std::string& profileID);

    /// Stores a port that a scan has found.
    void updateRemotePairingPort(std::uint16_t port, const std::string& profileID);

    /// Restarts every bridge in place after this computer's address has become `address` (nothing: none any
    /// more).
    void handleAddressChange(const std::optional<std::string>& address);

    /// Looks anew for the VPN clients on this computer.
    void refreshInstalledProviders();

    [[nodiscard]] const std::vector<DeviceProfile>& profiles() const { return profiles_; }
    [[nodiscard]] const std::vector<std::shared_ptr<MeshVPNProvider>>& installedProviders() const {
        return installedProviders_;
    }
    /// `off` for a profile without an entry.
    [[nodiscard]] BridgeStatus status(const std::string& profileID) const;
    [[nodiscard]] const std::map<std::string, BridgeStatus>& statusByProfileID() const {
        return statusByProfileID_;
    }
    /// One status for all: on before pairing before error before off.
    [[nodiscard]] BridgeStatus overallStatus() const;
    [[nodiscard]] AppLogStore& logs() { return logs_; }
    /// This computer's address on the local network, read now.
    [[nodiscard]] std::optional<std::string> localIP() const;

    /// Told after every change of a status; may be empty.
    std::function<void(const std::string& profileID, const BridgeStatus& status)> onStatusChanged;

 private:
    AppCoordinator(const Host& host, PresenceCheck presenceCheck);
    void beginWatching();
    void handleBridgeState(const ProxyBridgeState& state, const DeviceProfile& profile);
    void attach(ProxyBridge& bridge, const DeviceProfile& profile);
    void setStatus(const std::string& profileID, BridgeStatus status);
    [[nodiscard]] const DeviceProfile* storedProfile(const std::string& profileID) const;

    const Host& host_;
    PresenceCheck presenceCheck_;
    AppLogStore logs_;
    DeviceProfileStore profileStore_;
    InterfaceMonitor interfaceMonitor_;
    std::map<std::string, std::shared_ptr<MeshVPNProvider>> providersByID_;
    std::vector<std::shared_ptr<MeshVPNProvider>> installedProviders_;
    std::vector<DeviceProfile> profiles_;
    std::map<std::string, BridgeStatus> statusByProfileID_;
    std::map<std::string, std::shared_ptr<ProxyBridge>> bridgesByProfileID_;
};

}  // namespace quillbay
