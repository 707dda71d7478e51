// Longer than most, because it is one thing: everything that a person at the screen or at a terminal can do,
// and everything that they can see. What carries it out is in one source file for each part of it.

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bridge/LocalHostPresenceCheck.h"
#include "bridge/ProxyBridge.h"
#include "bridge/RelayAccess.h"
#include "core/AppLogStore.h"
#include "core/BridgeStatus.h"
#include "core/CaptureInbox.h"
#include "core/CapturedServices.h"
#include "core/DeviceNames.h"
#include "core/DiagnosticsReport.h"
#include "core/DiagnosticsTexts.h"
#include "core/ProxyHosts.h"
#include "core/RefusalLog.h"
#include "core/ScanProgress.h"
#include "core/ServiceInquiries.h"
#include "discovery/BonjourCapture.h"
#include "discovery/CapturedBonjourService.h"
#include "discovery/DeviceCtlLister.h"
#include "discovery/InterfaceMonitor.h"
#include "platform/Host.h"
#include "platform/Observers.h"
#include "platform/RepeatingTimer.h"
#include "platform/SettingsStore.h"
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
    /// Asks the local network for a captured service; blocks on a background thread for at most `timeout`.
    using ServiceQuestion = ServiceInquiries::Question;

    /// What asks the network; tests replace it.
    struct NetworkQuestions {
        /// For the bridges' start; the real one when empty.
        PresenceCheck presenceCheck;
        /// For the captured services that have been quiet; the real one when empty.
        ServiceQuestion serviceQuestion;
    };

    /// Loads the profiles, finds the installed VPN clients, ends proxy registrations that an earlier run left
    /// behind (blocking while it lists the processes) and begins to watch the local address. `host` must
    /// outlive the coordinator. Starts no bridge.
    static std::shared_ptr<AppCoordinator> make(const Host& host, NetworkQuestions questions = {});
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

    /// Whether only this computer may use the bridges, from now on and in later runs: the connections of
    /// others are ended, and new ones are refused. Returns why it could not be remembered, in which case it
    /// holds until the end of this run.
    std::optional<std::string> setOnlyThisComputer(bool only);

    // Phones on the local network.

    /// Begins to look for phones on the local network, or begins anew. From then on `capturedServices` is
    /// kept true: a service from which nothing has been heard for 5 seconds is asked for, and one that has
    /// been silent for 15 seconds goes with the next look, one of which there is every 5 seconds. Nothing
    /// ends it but the end of the coordinator.
    void startDiscovery();

    /// When `startDiscovery` was last called; nothing before the first time.
    [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> discoveryStarted() const {
        return discoveryStarted_;
    }

    /// Whether no phone can be found because the tool that looks for them keeps ending: what was so at the
    /// last look, one of which there is every 5 seconds.
    [[nodiscard]] bool discoveryFails() const { return discoveryFails_; }

    /// Takes a service that the capture has seen; of two with one host, the later one counts.
    void upsertCapturedService(CapturedBonjourService service);

    /// Forgets the services that were last seen longer ago than `age`.
    void pruneStaleCapturedServices(std::chrono::seconds age);

    /// Asks the developer tools for the names of the devices that they know, in the background. `done` (may
    /// be empty) runs on the main queue afterwards.
    void refreshDeviceNames(Task done = {});

    // The mesh VPNs.

    /// Looks anew for the VPN clients on this computer.
    void refreshInstalledProviders();

    /// Asks a VPN's client for its peers, in the background; they are then in `devicesByProviderID`, or the
    /// reason of the failure in `lastErrorByProviderID`. While a refresh of the provider runs, another one
    /// joins it. An unknown provider is nothing to refresh. `done` (may be empty) runs on the main queue
    /// afterwards.
    void refreshDevices(const std::string& providerID, Task done = {});

    void refreshAllInstalledProviders();

    /// Uses the client at `path` from now on and remembers that; empty: the one where such clients are
    /// usually installed. A refresh that runs begins anew with it. Returns why it could not be remembered, in
    /// which case it holds until the end of this run.
    std::optional<std::string> setBinaryPath(const std::string& path, const std::string& providerID);

    /// The setting that remembers the path of a provider's client.
    static std::string binaryPathKey(const std::string& providerID);

    // A look for a phone's port at the user's request.

    /// How far a scan is, and what it gave.
    struct ScanObserver {
        /// Told a few times a second at most, and at the end: ports probed so far, and how many a scan that
        /// nothing ends early probes. May be empty.
        std::function<void(std::size_t probed, std::size_t total)> onProgress;
        /// Told once, unless the scan was cancelled or a later one took its place: then it is `onCancelled`.
        std::function<void(const RemotePairingScanReport& report)> onEnd;
        std::function<void()> onCancelled;
    };

    /// Scans the phone's address for its port and says in the log what came of it. Changes neither the
    /// profile nor, unless it is just starting, its bridge. All callbacks run on the main queue. A scan of
    /// the same profile that runs already is cancelled. Returns the scan's number.
    std::uint64_t diagnose(DeviceProfile profile, ScanObserver observer = {});

    /// Ends the scan of this profile at once, if there is one.
    void cancelDiagnose(const std::string& profileID);
    /// The same for the scan with this number alone: whoever began one must not end another's.
    void cancelDiagnose(const std::string& profileID, std::uint64_t number);

    // For the support team.

    /// What stands above the log in a diagnostics report.
    [[nodiscard]] std::string diagnosticsHeader() const;
    [[nodiscard]] std::string supportEmailBody() const;

    /// Packs the log below the header and opens a mail to the support team with it. Says in the log when
    /// something of that could not be done.
    void sendToSupport();

    /// Packs the same into `zip`, an absolute path; a file that is there is replaced in one step. `done` runs
    /// on the main queue, with a sentence when it failed, unless the coordinator has gone before.
    void exportReport(std::filesystem::path zip, std::function<void(std::optional<std::string> error)> done);

    // Published state.

    /// By host, ascending.
    [[nodiscard]] const std::vector<CapturedBonjourService>& capturedServices() const {
        return capturedServices_.sorted();
    }
    /// All mesh VPNs that are known, by id.
    [[nodiscard]] const std::map<std::string, std::shared_ptr<MeshVPNProvider>>& providersByID() const {
        return providersByID_;
    }
    /// The peers that each provider listed last.
    [[nodiscard]] const std::map<std::string, std::vector<MeshVPNDevice>>& devicesByProviderID() const {
        return devicesByProviderID_;
    }
    /// Why a provider's last refresh failed; without an entry it did not.
    [[nodiscard]] const std::map<std::string, std::string>& lastErrorByProviderID() const {
        return lastErrorByProviderID_;
    }
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
    [[nodiscard]] bool onlyThisComputer() const { return access_->onlyThisComputer(); }
    /// How many connections and datagrams of other computers were refused in this run. Not published: it may
    /// change with every one.
    [[nodiscard]] RelayAccess::Refused refusedClients() const { return access_->refused(); }
    /// This computer's address on the local network, read now.
    [[nodiscard]] std::optional<std::string> localIP() const;
    /// Whether the program starts when the user logs in: what the desktop said last. Whoever asks the desktop
    /// or tells it says so here.
    [[nodiscard]] bool launchAtLoginEnabled() const { return launchAtLoginEnabled_; }
    void setLaunchAtLoginEnabled(bool enabled);

    /// The parts of the published state.
    enum class Published {
        capturedServices,
        installedProviders,
        devices,
        profiles,
        statuses,
        launchAtLogin,
        access
    };
    /// Told after every change of one of them.
    Observers<Published> published;
    /// Told after every change of a profile's status, with the profile's id.
    Observers<std::string, BridgeStatus> statusChanged;

 private:
    /// A refresh in the background, which those who ask for it meanwhile join.
    struct Refresh {
        std::optional<StopSource> work;
        /// Counts the runs: what a run that was abandoned brings is late news.
        std::uint64_t run = 0;
        std::vector<Task> waiting;
    };
    /// What a provider's client answered, or why it did not.
    struct Listing {
        std::vector<MeshVPNDevice> devices;
        std::optional<std::string> error;
    };
    struct Diagnosis {
        std::uint64_t number = 0;
        /// The profile's bridge, or one that exists for this scan alone.
        std::shared_ptr<ProxyBridge> bridge;
        DeviceProfile profile;
        ScanObserver observer;
        std::shared_ptr<ScanProgress> progress;
        std::size_t total = 0;
    };

    AppCoordinator(const Host& host, PresenceCheck presenceCheck);
    // The steps of `make` that need the coordinator to be held.
    void askForServices(ServiceQuestion question);
    void receiveCapture();
    void watchAddress();

    void restoreAccess();

    void startCapture();
    void checkCapturedServices();
    void followClock();
    void askForQuietServices();
    void lookAgainForFormerProxies();
    void takeCapture(CaptureInbox::Content content);
    void endNamesRefresh(const std::vector<DeviceCtl>& devices);

    [[nodiscard]] std::shared_ptr<MeshVPNProvider> makeProvider(const MeshVPNProviderType& type) const;
    void beginRefresh(const std::string& providerID);
    void endRefresh(const std::string& providerID, std::uint64_t run, Listing listing);
    /// Says that `part` has changed and tells those who waited for it.
    void finish(Refresh& refresh, Published part);
    std::optional<std::string> keepBinaryPath(const std::string& path, const std::string& providerID);

    /// Returns why the change could not be written, and says so in the log; `what` names it there.
    std::optional<std::string> keepSetting(const std::string& what,
                                           const std::function<void(SettingsStore&)>& change);

    [[nodiscard]] std::shared_ptr<ProxyBridge> makeBridge(const DeviceProfile& profile) const;
    [[nodiscard]] Diagnosis* diagnosis(const std::string& profileID, std::uint64_t number);
    void beginScan(const std::string& profileID);
    void endDiagnose(const std::string& profileID, std::uint64_t number,
                     const RemotePairingScanReport& report);
    void logReport(const DeviceProfile& profile, const RemotePairingScanReport& report);
    void cancelScansOf(const ProxyBridge& bridge);

    void reloadProfiles();
    void handleBridgeState(const ProxyBridgeState& state, const DeviceProfile& profile);
    void attach(ProxyBridge& bridge, const DeviceProfile& profile);
    void setStatus(const std::string& profileID, BridgeStatus status);
    [[nodiscard]] DiagnosticsFacts diagnosticsFacts() const;
    [[nodiscard]] const DeviceProfile* storedProfile(const std::string& profileID) const;

    const Host& host_;
    PresenceCheck presenceCheck_;
    AppLogStore logs_;
    std::shared_ptr<DiagnosticsReport> diagnosticsReport_ = DiagnosticsReport::make(host_, logs_);
    SettingsStore settings_;
    std::shared_ptr<RelayAccess> access_ = std::make_shared<RelayAccess>();
    RefusalLog refusalLog_{host_.mainQueue, logs_, access_};
    BonjourCapture bonjourCapture_;
    DeviceProfileStore profileStore_;
    InterfaceMonitor interfaceMonitor_;
    DeviceCtlLister deviceCtlLister_;

    CapturedServices capturedServices_;
    DeviceNames deviceNames_;
    Refresh namesRefresh_;
    std::shared_ptr<ProxyHosts> proxyHosts_ = std::make_shared<ProxyHosts>(host_.clock);
    std::optional<ServiceInquiries> inquiries_;
    std::unique_ptr<RepeatingTimer> staleCheckTimer_;
    std::optional<std::chrono::steady_clock::time_point> discoveryStarted_;
    bool discoveryFails_ = false;
    /// When the captured services were last checked; nothing before discovery has started.
    std::optional<std::chrono::system_clock::time_point> lastCheck_;
    /// The own hosts at the last check, or when the capture was started after that.
    std::set<std::string> proxiedHosts_;

    std::map<std::string, std::shared_ptr<MeshVPNProvider>> providersByID_;
    std::vector<std::shared_ptr<MeshVPNProvider>> installedProviders_;
    std::map<std::string, std::vector<MeshVPNDevice>> devicesByProviderID_;
    std::map<std::string, std::string> lastErrorByProviderID_;
    std::map<std::string, Refresh> refreshByProviderID_;

    std::map<std::string, Diagnosis> diagnosisByProfileID_;
    std::uint64_t diagnosisCount_ = 0;

    std::vector<DeviceProfile> profiles_;
    std::map<std::string, BridgeStatus> statusByProfileID_;
    bool launchAtLoginEnabled_ = false;
    std::map<std::string, std::shared_ptr<ProxyBridge>> bridgesByProfileID_;
};

}  // namespace quillbay
