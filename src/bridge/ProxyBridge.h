#pragma once

#include <atomic>
#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/BridgeStartWork.h"
#include "bridge/DNSServiceProxy.h"
#include "bridge/PairingRelays.h"
#include "bridge/ProxyBridgeState.h"
#include "bridge/TunnelPortInbox.h"
#include "bridge/TunnelPortWatcher.h"
#include "platform/Host.h"

namespace quillbay {

/// The engine of one device profile while the phone is away.
///
/// Owned by the coordinator and used on the main queue, as are all its callbacks. What blocks runs in the
/// background and comes back with a step on the main queue:
///
///     main        start ──▶ pairing          performStart ──▶ active ── onPort ──▶ one more relay pair
///                   │                             ▲  │
///     background    └─▶ is it away? ─▶ probe ─────┤  └─▶ control channel, proxy record, tunnel range,
///                                        └─▶ scan ┘      log follower
///
/// Every step carries the `generation` in which it was asked for and is dropped when `stop` or a newer start
/// has begun another; only the failure of a control channel is reported in any generation. The background
/// part never holds the bridge, so a dropped bridge ends at once.
class ProxyBridge : public std::enable_shared_from_this<ProxyBridge> {
 public:
    /// Reads this computer's local IPv4 address now.
    using LocalIP = std::function<std::optional<std::string>()>;

    /// `host` must outlive the bridge. Without a `presenceCheck` the real one is used, which asks the
    /// network. Without `access`, everybody may use the relays.
    static std::shared_ptr<ProxyBridge> make(const Host& host, DeviceProfile profile, LocalIP localIP,
                                             PresenceCheck presenceCheck = {},
                                             std::shared_ptr<RelayAccess> access = nullptr);
    ~ProxyBridge();
    ProxyBridge(const ProxyBridge&) = delete;
    ProxyBridge& operator=(const ProxyBridge&) = delete;

    std::function<void(ProxyBridgeState)> onStateChanged;
    std::function<void(std::uint16_t)> onDiscoveredPort;
    std::function<void(const std::string&)> onLog;
    /// Told the phone's host name just before this computer announces it, and nothing as soon as it no longer
    /// does, within the call or the destructor that ends it. So whoever listens must not touch the bridge.
    std::function<void(const std::optional<std::string>& host)> onProxyHostChanged;

    /// Starts or restarts. When the profile's port does not answer, scans for the current one if
    /// `scanIfPortStale`, and fails otherwise. Every failure ends in the state `error`.
    void start(bool scanIfPortStale);

    /// Takes everything down and returns to `idle`. Waits for the proxy registration to end.
    void stop();

    /// Scans for the phone's port at the user's request, without touching the bridge otherwise; a scan that
    /// runs already ends early. `onProgress` (may be empty) is told every port probed, on a network thread;
    /// `completion` gets the report on the main queue, unless the scan was cancelled or the bridge was
    /// stopped or is gone by then. Throws std::system_error when the system has no thread to give.
    void discoverDevicePort(std::function<void(RemotePairingScanReport)> completion,
                            std::function<void(std::uint16_t)> onProgress = {});

    /// Ends the connections of those who may not use the relays now, after `access` has changed; on the
    /// relays' queues, soon.
    void endConnectionsOfOthers();

    /// Ends the user's scan at once; its completion is not called.
    void cancelDiscovery();

    [[nodiscard]] const ProxyBridgeState& state() const { return state_; }
    [[nodiscard]] const DeviceProfile& profile() const { return profile_; }
    /// The local ports that have a relay, one bit each.
    using PortSet = std::bitset<65536>;
    [[nodiscard]] const PortSet& coveredPorts() const { return coveredPorts_; }
    [[nodiscard]] std::size_t relayCount() const { return relays_.size(); }
    [[nodiscard]] std::size_t udpRelayCount() const { return udpRelays_.size(); }

 private:
    /// What background work may look at without holding the bridge.
    struct Epochs {
        std::atomic<std::int64_t> generation{0};
        std::atomic<std::int64_t> scanGeneration{0};
        std::atomic<bool> bridgeExists{true};
    };
    /// Takes steps of one generation to the main queue.
    struct MainSteps {
        MainQueue& mainQueue;
        std::weak_ptr<ProxyBridge> bridge;
        std::int64_t generation;

        /// Runs `step` on the main queue if the bridge still exists then and the generation is still current.
        /// May be called on any thread.
        void post(std::function<void(ProxyBridge&)> step) const;
    };

    ProxyBridge(const Host& host, DeviceProfile profile, LocalIP localIP, PresenceCheck presenceCheck,
                std::shared_ptr<RelayAccess> access);

    /// For the current generation.
    [[nodiscard]] std::shared_ptr<const MainSteps> mainSteps();
    [[nodiscard]] BridgeStartWork::Callbacks startCallbacks(const std::string& localIP);
    void runInBackground(bool scanIfPortStale, const std::string& localIP);
    void performStart(const std::string& localIP, std::uint16_t devicePort, const std::string& remoteHost);
    void registerProxy(const std::string& localIP, std::uint16_t port);
    void withdrawProxy();
    void openRelays(const std::string& localIP, std::uint16_t port, const char* kind,
                    const std::shared_ptr<const MainSteps>& steps);
    void watchTunnelPorts(const std::string& localIP);
    static void takeTunnelPortsSoon(const std::shared_ptr<const MainSteps>& steps,
                                    const std::shared_ptr<TunnelPortInbox>& inbox,
                                    const std::string& localIP);
    void handleCriticalRelayFailure(std::uint16_t port, const std::string& transport,
                                    const std::string& error);
    void handleDiscoveredTunnelPort(std::uint16_t port, const std::string& localIP);
    void closeEverything();
    /// Relays, log follower and proxy record; not the work in the background.
    void closeWhatIsUp();
    void setState(ProxyBridgeState state);
    void log(const std::string& text) const;

    const Host& host_;
    DeviceProfile profile_;
    LocalIP localIP_;
    PresenceCheck presenceCheck_;
    std::shared_ptr<RelayAccess> access_;
    DNSServiceProxy dnsProxy_;
    DeviceCtlLister deviceCtlLister_;
    TunnelPortWatcher tunnelPortWatcher_;
    /// The phone's address in numbers, as the current start found it.
    std::string remoteHost_;
    std::vector<std::unique_ptr<TCPRelay>> relays_;
    std::vector<std::unique_ptr<UDPRelay>> udpRelays_;
    PortSet coveredPorts_;
    bool proxyHostTold_ = false;
    ProxyBridgeState state_;
    std::shared_ptr<Epochs> epochs_ = std::make_shared<Epochs>();
    std::optional<StopSource> startWork_;
    std::optional<StopSource> scanWork_;
};

}  // namespace quillbay
