// The coordinator's look at the local network: captured services, their age and their names.

#include <algorithm>
#include <chrono>
#include <set>
#include <system_error>
#include <utility>

#include "core/AppCoordinator.h"
#include "discovery/DeviceCtlListerError.h"
#include "platform/PrintedError.h"
#include "platform/Text.h"

namespace quillbay {

namespace {

constexpr const char* pairingServiceType = "_remotepairing._tcp";
constexpr std::chrono::seconds timeBetweenChecks{5};
constexpr std::chrono::seconds quietAge{5};
constexpr std::chrono::seconds staleAge{15};

/// Until then after its last sign, a phone that has gone is asked for: an SRV record is remembered for two
/// minutes (RFC 6762, section 10), and one that comes back after that is reported anew.
constexpr std::chrono::seconds missingAge{180};

}  // namespace

void AppCoordinator::askForServices(ServiceQuestion question) {
    if (!question) {
        question = [&random = host_.random](const CapturedBonjourService& service,
                                            std::chrono::milliseconds timeout, const StopToken& token) {
            return LocalHostPresenceCheck::ask(questionName(service), timeout, random, token);
        };
    }
    inquiries_.emplace(host_, std::move(question), [weak = weak_from_this()](const std::string& host) {
        const auto coordinator = weak.lock();
        if (!coordinator) return;
        // Announced by a bridge that began while the question was under way: this computer has answered it.
        if (coordinator->proxyHosts_->all().contains(lowercased(host))) return;
        if (coordinator->capturedServices_.markSeen(host, coordinator->host_.clock.now()))
            coordinator->published.notify(Published::capturedServices);
    });
}

void AppCoordinator::receiveCapture() {
    const auto inbox = std::make_shared<CaptureInbox>(
        host_.mainQueue, [weak = weak_from_this()](CaptureInbox::Content content) {
            if (const auto coordinator = weak.lock()) coordinator->takeCapture(std::move(content));
        });
    bonjourCapture_.onServiceUpdated = [inbox](CapturedBonjourService service) {
        inbox->putService(std::move(service));
    };
    bonjourCapture_.onLog = [inbox](std::string line) { inbox->putLine(std::move(line)); };
    bonjourCapture_.activeProxyHosts = [hosts = proxyHosts_] { return hosts->all(); };
}

void AppCoordinator::startDiscovery() {
    startCapture();
    discoveryStarted_ = host_.clock.steadyNow();
    followClock();
    staleCheckTimer_ =
        std::make_unique<RepeatingTimer>(host_.mainQueue, timeBetweenChecks, [weak = weak_from_this()] {
            if (const auto coordinator = weak.lock()) coordinator->checkCapturedServices();
        });
}

void AppCoordinator::startCapture() {
    proxiedHosts_ = proxyHosts_->all();
    bonjourCapture_.start(pairingServiceType, "local");
    logs_.diagnostic(std::string("Bonjour scan started (") + pairingServiceType + ")");
}

void AppCoordinator::takeCapture(CaptureInbox::Content content) {
    for (const std::string& line : content.lines)
        logs_.diagnostic(line);
    if (content.services.empty()) return;
    capturedServices_.upsert(std::move(content.services), deviceNames_);
    published.notify(Published::capturedServices);
}

void AppCoordinator::upsertCapturedService(CapturedBonjourService service) {
    std::vector<CapturedBonjourService> services;
    services.push_back(std::move(service));
    capturedServices_.upsert(std::move(services), deviceNames_);
    published.notify(Published::capturedServices);
}

void AppCoordinator::pruneStaleCapturedServices(std::chrono::seconds age) {
    if (capturedServices_.keepSeenAfter(host_.clock.now() - age))
        published.notify(Published::capturedServices);
}

void AppCoordinator::checkCapturedServices() {
    followClock();
    pruneStaleCapturedServices(staleAge);
    capturedServices_.forgetMissing(host_.clock.now() - missingAge);
    askForQuietServices();
    lookAgainForFormerProxies();
    const bool failed = std::exchange(discoveryFails_, bonjourCapture_.isFailing());
    if (failed != discoveryFails_) published.notify(Published::capturedServices);
}

void AppCoordinator::followClock() {
    const auto now = host_.clock.now();
    const auto before = std::exchange(lastCheck_, now);
    if (!before) return;
    // A computer that slept, or whose clock was set, has not heard less of the phones for that. Only the time
    // of day shows it everywhere: the time that goes forward stands still in a Linux computer's sleep, and
    // goes on in a Mac's. Nothing else makes a check come as late as this.
    const auto step = now - *before - timeBetweenChecks;
    if (std::chrono::abs(step) <= timeBetweenChecks) return;
    capturedServices_.shiftTimes(step, now);
    published.notify(Published::capturedServices);
}

void AppCoordinator::lookAgainForFormerProxies() {
    // The record of a phone that came home while it was bridged was left out as this computer's own, and is
    // not printed again when that goes: only a new capture sees it.
    const std::set<std::string> hosts = proxyHosts_->all();
    if (std::includes(hosts.begin(), hosts.end(), proxiedHosts_.begin(), proxiedHosts_.end()))
        proxiedHosts_ = hosts;
    else
        startCapture();
}

void AppCoordinator::askForQuietServices() {
    const auto quietSince = host_.clock.now() - quietAge;
    const std::set<std::string> ownHosts = proxyHosts_->all();
    std::vector<CapturedBonjourService> quiet;
    for (const auto* services : {&capturedServices_.sorted(), &capturedServices_.missing()})
        for (const CapturedBonjourService& service : *services)
            // This computer itself would answer for the host that it announces.
            if (service.lastSeen <= quietSince && !ownHosts.contains(lowercased(service.host)))
                quiet.push_back(service);
    // Nobody asks for these, and they may be large.
    for (CapturedBonjourService& service : quiet)
        service.txt.clear();
    inquiries_->ask(std::move(quiet));
}

void AppCoordinator::refreshDeviceNames(Task done) {
    if (done) namesRefresh_.waiting.push_back(std::move(done));
    if (namesRefresh_.work) return;
    const auto end = [weak = weak_from_this(), &mainQueue = host_.mainQueue](std::vector<DeviceCtl> devices) {
        mainQueue.post([weak, devices = std::move(devices)] {
            if (const auto coordinator = weak.lock()) coordinator->endNamesRefresh(devices);
        });
    };
    try {
        namesRefresh_.work = host_.background.run([lister = deviceCtlLister_, end](const StopToken& token) {
            try {
                end(lister.listDevices(token));
            } catch (const DeviceCtlListerError&) {
                // Most computers have no developer tools: the phones then go by their hosts.
                end({});
            }
        });
    } catch (const std::system_error& error) {
        logs_.diagnostic("The names of devices cannot be asked for: " + printedError(error));
        end({});
    }
}

void AppCoordinator::endNamesRefresh(const std::vector<DeviceCtl>& devices) {
    deviceNames_.learn(devices);
    capturedServices_.applyNames(deviceNames_);
    finish(namesRefresh_, Published::capturedServices);
}

}  // namespace quillbay
