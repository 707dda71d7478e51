#include "bridge/ProxyBridge.h"

#include <fmt/format.h>

#include <cstdlib>
#include <limits>
#include <utility>

#include "bridge/BridgeTexts.h"
#include "bridge/LocalHostPresenceCheck.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

/// An epoch that wrapped around could let a late result through.
void advance(std::atomic<std::int64_t>& epoch) {
    if (epoch.load() == std::numeric_limits<std::int64_t>::max()) std::abort();
    epoch.fetch_add(1);
}

PresenceCheck networkPresenceCheck(RandomSource& random) {
    return [&random](const std::string& host, std::chrono::milliseconds timeout, const StopToken& token) {
        return LocalHostPresenceCheck::isHostCurrentlyPresent(host, timeout, random, token);
    };
}

}  // namespace

std::shared_ptr<ProxyBridge> ProxyBridge::make(const Host& host, DeviceProfile profile, LocalIP localIP,
                                               PresenceCheck presenceCheck,
                                               std::shared_ptr<RelayAccess> access) {
    if (!presenceCheck) presenceCheck = networkPresenceCheck(host.random);
    return std::shared_ptr<ProxyBridge>(new ProxyBridge(host, std::move(profile), std::move(localIP),
                                                        std::move(presenceCheck), std::move(access)));
}

ProxyBridge::ProxyBridge(const Host& host, DeviceProfile profile, LocalIP localIP,
                         PresenceCheck presenceCheck, std::shared_ptr<RelayAccess> access)
    : host_(host),
      profile_(std::move(profile)),
      localIP_(std::move(localIP)),
      presenceCheck_(std::move(presenceCheck)),
      access_(std::move(access)),
      dnsProxy_(host.tools),
      deviceCtlLister_(host.tools, host.files, host.random),
      tunnelPortWatcher_(host.tools, host.network) {}

ProxyBridge::~ProxyBridge() {
    epochs_->bridgeExists = false;
    closeEverything();
}

void ProxyBridge::start(bool scanIfPortStale) {
    stop();
    const std::int64_t generation = epochs_->generation;
    setState(ProxyBridgeState::pairing());
    if (epochs_->generation != generation) return;  // by the owner, in its callback
    const std::optional<std::string> localIP = localIP_();
    if (!localIP) {
        setState(ProxyBridgeState::error("Could not read local IP (" + host_.interfaceName() + ")"));
        return;
    }
    try {
        runInBackground(scanIfPortStale, *localIP);
    } catch (const std::exception& error) {
        setState(ProxyBridgeState::error(printedError(error)));
    }
}

void ProxyBridge::stop() {
    advance(epochs_->generation);
    advance(epochs_->scanGeneration);
    closeEverything();
    if (state_ != ProxyBridgeState::idle()) setState(ProxyBridgeState::idle());
}

void ProxyBridge::closeEverything() {
    if (startWork_) startWork_->requestStop();
    if (scanWork_) scanWork_->requestStop();
    startWork_.reset();
    scanWork_.reset();
    closeWhatIsUp();
}

void ProxyBridge::closeWhatIsUp() {
    for (const auto& relay : relays_)
        relay->stop();
    relays_.clear();
    for (const auto& relay : udpRelays_)
        relay->stop();
    udpRelays_.clear();
    coveredPorts_.reset();
    // The watcher's queue may just be calling it: it is stopped before its callback goes.
    tunnelPortWatcher_.stop();
    tunnelPortWatcher_.onPort = nullptr;
    tunnelPortWatcher_.onEnd = nullptr;
    withdrawProxy();
}

void ProxyBridge::runInBackground(bool scanIfPortStale, const std::string& localIP) {
    auto work = std::make_shared<BridgeStartWork>(profile_, deviceCtlLister_, presenceCheck_,
                                                  RemotePairingProbe(host_.network, host_.random),
                                                  host_.clock, startCallbacks(localIP));
    startWork_ = host_.background.run(
        [work, scanIfPortStale, epochs = epochs_, steps = mainSteps()](const StopToken& token) {
            if (!epochs->bridgeExists) return;
            try {
                work->run(scanIfPortStale, token);
            } catch (const std::exception& error) {
                steps->post([text = printedError(error)](ProxyBridge& bridge) {
                    bridge.setState(ProxyBridgeState::error(text));
                });
            }
        });
}

void ProxyBridge::MainSteps::post(std::function<void(ProxyBridge&)> step) const {
    mainQueue.post([bridge = bridge, generation = generation, step = std::move(step)] {
        const std::shared_ptr<ProxyBridge> held = bridge.lock();
        if (held && held->epochs_->generation == generation) step(*held);
    });
}

std::shared_ptr<const ProxyBridge::MainSteps> ProxyBridge::mainSteps() {
    return std::make_shared<const MainSteps>(
        MainSteps{host_.mainQueue, weak_from_this(), epochs_->generation});
}

BridgeStartWork::Callbacks ProxyBridge::startCallbacks(const std::string& localIP) {
    const auto steps = mainSteps();
    BridgeStartWork::Callbacks callbacks;
    callbacks.onLog = [steps](std::string line) {
        steps->post([line = std::move(line)](ProxyBridge& bridge) {
            if (bridge.onLog) bridge.onLog(line);
        });
    };
    callbacks.onDiscoveredPort = [steps](std::uint16_t port) {
        steps->post([port](ProxyBridge& bridge) {
            // Without it, a restart in place after an address change would ask the old port and fail.
            bridge.profile_.remotePairingPort = port;
            if (bridge.onDiscoveredPort) bridge.onDiscoveredPort(port);
        });
    };
    callbacks.onFailed = [steps](std::string message) {
        steps->post([message = std::move(message)](ProxyBridge& bridge) {
            bridge.setState(ProxyBridgeState::error(message));
        });
    };
    callbacks.onVerified = [steps, localIP](std::uint16_t devicePort, std::string remoteHost) {
        steps->post([localIP, devicePort, remoteHost = std::move(remoteHost)](ProxyBridge& bridge) {
            bridge.performStart(localIP, devicePort, remoteHost);
        });
    };
    callbacks.beginScan = [epochs = epochs_, generation = epochs_->generation.load()] {
        return [epochs, generation, scanGeneration = epochs->scanGeneration.load()] {
            return epochs->bridgeExists && epochs->generation == generation &&
                   epochs->scanGeneration == scanGeneration;
        };
    };
    return callbacks;
}

void ProxyBridge::performStart(const std::string& localIP, std::uint16_t devicePort,
                               const std::string& remoteHost) {
    remoteHost_ = remoteHost;
    const auto steps = mainSteps();
    // What is logged on the way reaches the owner, who may stop or restart the bridge there and then.
    const auto superseded = [&] { return epochs_->generation != steps->generation; };
    try {
        PairingRelayRequest request;
        request.localIP = localIP;
        request.remoteHost = remoteHost_;
        request.remotePort = devicePort;
        request.displayName = profile_.displayName;
        request.access = access_;
        request.onLog = onLog;
        request.onFailure = [&mainQueue = host_.mainQueue, weak = weak_from_this()](
                                std::uint16_t port, std::string transport, const std::exception_ptr& error) {
            mainQueue.post([weak, port, transport = std::move(transport), text = printedError(error)] {
                if (const auto bridge = weak.lock())
                    bridge->handleCriticalRelayFailure(port, transport, text);
            });
        };
        PairingRelays control = bindPairingRelays(host_.network, request);
        if (superseded()) return;
        const std::uint16_t localPort = control.localPort;
        registerProxy(localIP, localPort);
        relays_.push_back(std::move(control.tcp));
        udpRelays_.push_back(std::move(control.udp));
        coveredPorts_.set(localPort);
        for (unsigned port = profile_.tunnelPortRangeStart; port <= profile_.tunnelPortRangeEnd; ++port) {
            if (port == localPort) continue;
            openRelays(localIP, static_cast<std::uint16_t>(port), "tunnel-range", steps);
        }
        const std::string relayedOn =
            devicePort == localPort ? "" : fmt::format(" (relayed locally on {})", localPort);
        log(fmt::format("port {}{} verified, {} TCP + {} UDP relay open", devicePort, relayedOn,
                        relays_.size(), udpRelays_.size()));
    } catch (const std::exception& error) {
        if (superseded()) return;
        // What a failed start leaves open would serve nobody. A scan of the user's goes on.
        closeWhatIsUp();
        setState(ProxyBridgeState::error(printedError(error)));
        return;
    }
    if (superseded()) return;
    setState(ProxyBridgeState::active());
    if (!superseded()) watchTunnelPorts(localIP);
}

void ProxyBridge::registerProxy(const std::string& localIP, std::uint16_t port) {
    // Before the record is out: from then on this computer may see it as anybody's.
    proxyHostTold_ = true;
    if (onProxyHostChanged) onProxyHostChanged(profile_.bonjourHost);
    dnsProxy_.start({profile_.bonjourName, profile_.serviceType, port, profile_.bonjourHost, localIP,
                     host_.interfaceName(), profile_.txtRecord});
}

void ProxyBridge::withdrawProxy() {
    dnsProxy_.stop();
    if (std::exchange(proxyHostTold_, false) && onProxyHostChanged) onProxyHostChanged(std::nullopt);
}

void ProxyBridge::openRelays(const std::string& localIP, std::uint16_t port, const char* kind,
                             const std::shared_ptr<const MainSteps>& steps) {
    const auto failureLog = [&](const char* transport) {
        return [steps, port, kind, transport](const std::exception_ptr& error) {
            steps->post([port, kind, transport, text = printedError(error)](ProxyBridge& bridge) {
                // The tunnel's range is named by port, a discovered one by where it is.
                bridge.log(fmt::format("{} {} relay on {}{} failed: {}", kind, transport,
                                       kind == std::string_view("tunnel-range") ? "port " : "", port, text));
            });
        };
    };
    auto tcp = std::make_unique<TCPRelay>(host_.network, localIP, port, remoteHost_, port, access_);
    tcp->onError = failureLog("TCP");
    tcp->start();
    relays_.push_back(std::move(tcp));
    auto udp = std::make_unique<UDPRelay>(host_.network, localIP, port, remoteHost_, port, access_);
    udp->onError = failureLog("UDP");
    udp->start();
    udpRelays_.push_back(std::move(udp));
    coveredPorts_.set(port);
}

void ProxyBridge::watchTunnelPorts(const std::string& localIP) {
    tunnelPortWatcher_.onPort = [steps = mainSteps(), inbox = std::make_shared<TunnelPortInbox>(),
                                 localIP](std::uint16_t port) {
        if (inbox->put(port)) takeTunnelPortsSoon(steps, inbox, localIP);
    };
    tunnelPortWatcher_.onEnd = [steps = mainSteps()] {
        steps->post([](ProxyBridge& bridge) {
            bridge.log("tunnel ports are no longer followed in the system log: the tool for it has ended");
        });
    };
    try {
        tunnelPortWatcher_.start();
    } catch (const std::exception& error) {
        // The bridge works without: only ports outside the range are not found then.
        log("tunnel ports cannot be followed in the system log: " + printedError(error));
    }
}

void ProxyBridge::takeTunnelPortsSoon(const std::shared_ptr<const MainSteps>& steps,
                                      const std::shared_ptr<TunnelPortInbox>& inbox,
                                      const std::string& localIP) {
    steps->post([steps, inbox, localIP](ProxyBridge& bridge) {
        const TunnelPortInbox::Content content = inbox->take();
        for (const std::uint16_t port : content.ports)
            bridge.handleDiscoveredTunnelPort(port, localIP);
        if (content.moreWait) takeTunnelPortsSoon(steps, inbox, localIP);
    });
}

void ProxyBridge::handleDiscoveredTunnelPort(std::uint16_t port, const std::string& localIP) {
    if (state_ != ProxyBridgeState::active() || coveredPorts_.test(port)) return;
    try {
        openRelays(localIP, port, "discovered-port", mainSteps());
        log(fmt::format("live tunnel port {} discovered, relay open", port));
    } catch (const std::exception& error) {
        log(fmt::format("failed to open relay for discovered tunnel port {}: {}", port, printedError(error)));
    }
}

void ProxyBridge::handleCriticalRelayFailure(std::uint16_t port, const std::string& transport,
                                             const std::string& error) {
    const std::string message = criticalRelayFailureMessage(transport, port, error);
    log(message);
    setState(ProxyBridgeState::error(message));
}

void ProxyBridge::discoverDevicePort(std::function<void(RemotePairingScanReport)> completion,
                                     std::function<void(std::uint16_t)> onProgress) {
    advance(epochs_->scanGeneration);
    log("port scan started (" + profile_.providerIP + ")");
    RemotePairingProbe::Scan scan = controlChannelScan(profile_);
    scan.onProgress = std::move(onProgress);
    scan.shouldContinue = [epochs = epochs_, scanGeneration = epochs_->scanGeneration.load()] {
        return epochs->bridgeExists && epochs->scanGeneration == scanGeneration;
    };
    scanWork_ = host_.background.run([scan = std::move(scan), completion = std::move(completion),
                                      probe = RemotePairingProbe(host_.network, host_.random),
                                      &mainQueue = host_.mainQueue,
                                      weak = weak_from_this()](const StopToken& token) mutable {
        RemotePairingScanReport report = probe.scanForControlChannel(scan, token);
        mainQueue.post([weak, token, completion, report = std::move(report)] {
            if (weak.lock() && !token.stopRequested()) completion(report);
        });
    });
}

void ProxyBridge::endConnectionsOfOthers() {
    for (const auto& relay : relays_)
        relay->endConnectionsOfOthers();
    for (const auto& relay : udpRelays_)
        relay->endConnectionsOfOthers();
}

void ProxyBridge::cancelDiscovery() {
    // Not by the epoch: the scan of a start goes by that too, and goes on.
    if (scanWork_) scanWork_->requestStop();
    scanWork_.reset();
}

void ProxyBridge::setState(ProxyBridgeState state) {
    state_ = std::move(state);
    if (onStateChanged) onStateChanged(state_);
}

void ProxyBridge::log(const std::string& text) const {
    if (onLog) onLog(profile_.displayName + ": " + text);
}

}  // namespace quillbay
