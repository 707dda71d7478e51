// The scan of a phone's ports at the user's request.

#include <fmt/format.h>

#include <exception>
#include <system_error>
#include <utility>

#include "bridge/BridgeStartWork.h"
#include "core/AppCoordinator.h"
#include "platform/PrintedError.h"

namespace quillbay {

std::uint64_t AppCoordinator::diagnose(DeviceProfile profile, ScanObserver observer) {
    const std::string id = profile.id();
    cancelDiagnose(id);
    logs_.diagnostic(profile.displayName + ": user-triggered port scan on " + profile.providerIP);

    const auto running = bridgesByProfileID_.find(id);
    Diagnosis started;
    const std::uint64_t startedNumber = ++diagnosisCount_;
    started.number = startedNumber;
    started.bridge = running != bridgesByProfileID_.end() ? running->second : makeBridge(profile);
    started.observer = std::move(observer);
    started.total = controlChannelScan(started.bridge->profile()).portCount();
    started.progress = std::make_shared<ScanProgress>(
        host_.mainQueue, host_.clock,
        [weak = weak_from_this(), id, number = started.number](std::size_t probed) {
            const auto coordinator = weak.lock();
            const Diagnosis* current = coordinator ? coordinator->diagnosis(id, number) : nullptr;
            if (current == nullptr || !current->observer.onProgress) return;
            // A copy: it may cancel the scan, and so end its own life.
            const auto onProgress = current->observer.onProgress;
            onProgress(probed, current->total);
        });
    started.profile = std::move(profile);
    diagnosisByProfileID_.insert_or_assign(id, std::move(started));
    beginScan(id);
    return startedNumber;
}

void AppCoordinator::beginScan(const std::string& profileID) {
    const Diagnosis& started = diagnosisByProfileID_.at(profileID);
    const std::string displayName = started.profile.displayName;
    try {
        started.bridge->discoverDevicePort(
            [weak = weak_from_this(), profileID,
             number = started.number](const RemotePairingScanReport& report) {
                if (const auto coordinator = weak.lock()) coordinator->endDiagnose(profileID, number, report);
            },
            [progress = started.progress](std::uint16_t) { progress->portProbed(); });
    } catch (const std::system_error& error) {
        logs_.diagnostic(displayName + ": the port scan could not be started: " + printedError(error));
        logs_.user("Port ping failed.");
        cancelDiagnose(profileID);
    }
}

AppCoordinator::Diagnosis* AppCoordinator::diagnosis(const std::string& profileID, std::uint64_t number) {
    const auto found = diagnosisByProfileID_.find(profileID);
    if (found == diagnosisByProfileID_.end() || found->second.number != number) return nullptr;
    return &found->second;
}

void AppCoordinator::endDiagnose(const std::string& profileID, std::uint64_t number,
                                 const RemotePairingScanReport& report) {
    if (diagnosis(profileID, number) == nullptr) return;
    const auto node = diagnosisByProfileID_.extract(profileID);
    const Diagnosis& ended = node.mapped();
    if (ended.observer.onProgress) ended.observer.onProgress(ended.progress->probed(), ended.total);
    logReport(ended.profile, report);
    if (ended.observer.onEnd) ended.observer.onEnd(report);
}

void AppCoordinator::logReport(const DeviceProfile& profile, const RemotePairingScanReport& report) {
    if (report.port) {
        logs_.diagnostic(
            fmt::format("{}: responded on RemotePairing port {}", profile.displayName, *report.port));
        logs_.user("Port ping succeeded.");
        return;
    }
    const std::string provider = profile.providerDisplayName();
    if (report.openButSilent.empty()) {
        logs_.diagnostic(
            fmt::format("{}: none of the device's ports responded — is {} connected on the iPhone?",
                        profile.displayName, provider));
    } else {
        logs_.diagnostic(
            fmt::format("{0}: No RemotePairing service. The {1} path is healthy (open ports: {2}) but "
                        "remotepairingd isn't "
                        "listening on the {1} interface.",
                        profile.displayName, provider, fmt::join(report.openButSilent, ", ")));
    }
    logs_.user("Port ping failed.");
}

void AppCoordinator::cancelDiagnose(const std::string& profileID) {
    const auto node = diagnosisByProfileID_.extract(profileID);
    if (node.empty()) return;
    Diagnosis& cancelled = node.mapped();
    cancelled.bridge->cancelDiscovery();
    // Later, because whoever is told may begin the next scan.
    if (cancelled.observer.onCancelled) host_.mainQueue.post(std::move(cancelled.observer.onCancelled));
}

void AppCoordinator::cancelDiagnose(const std::string& profileID, std::uint64_t number) {
    if (diagnosis(profileID, number) != nullptr) cancelDiagnose(profileID);
}

void AppCoordinator::cancelScansOf(const ProxyBridge& bridge) {
    for (const auto& [id, diagnosis] : diagnosisByProfileID_) {
        if (diagnosis.bridge.get() != &bridge) continue;
        // A bridge scans for its own profile alone.
        cancelDiagnose(std::string(id));
        return;
    }
}

}  // namespace quillbay
