#include "ui/models/ProfileDetailModel.h"

#include <QPointer>
#include <algorithm>
#include <utility>

#include "bridge/BridgeStartWork.h"
#include "ui/models/PortTexts.h"
#include "ui/models/ShownText.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

namespace {

/// One of the facts.
QString fact(const std::string& value) {
    return value.empty() ? QStringLiteral("Unknown") : shownLine(value);
}

}  // namespace

ProfileDetailModel::ProfileDetailModel(AppCoordinator& coordinator, QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part == AppCoordinator::Published::profiles || part == AppCoordinator::Published::statuses)
              refresh();
      })) {}

ProfileDetailModel::~ProfileDetailModel() {
    for (const auto& [id, scan] : scans_)
        coordinator_.cancelDiagnose(id, scan.number);
}

void ProfileDetailModel::show(const QString& profileID) {
    if (profileID == profileID_) return;
    profileID_ = profileID;
    refresh();
    Q_EMIT scanChanged();
}

void ProfileDetailModel::refresh() {
    const DeviceProfile* stored = storedProfile(coordinator_, profileID_);
    std::optional<DeviceProfile> profile = stored == nullptr ? std::nullopt : std::optional(*stored);
    StatusPresentation status =
        profile ? presentationOf(coordinator_.status(profile->id())) : StatusPresentation();
    // Nobody waits for a profile to come back.
    if (!profile) profileID_.clear();
    if (profile == profile_ && status == status_) return;
    profile_ = std::move(profile);
    status_ = std::move(status);
    Q_EMIT changed();
    if (!profile_) Q_EMIT scanChanged();
}

QString ProfileDetailModel::displayName() const {
    return profile_ ? shownLine(profile_->displayName) : QString();
}

bool ProfileDetailModel::switchOn() const {
    return isRunning(status_.kind);
}

QString ProfileDetailModel::device() const {
    return profile_ ? fact(profile_->providerHostName) : QString();
}

QString ProfileDetailModel::connector() const {
    if (!profile_) return {};
    return QStringLiteral("%1 · %2").arg(shownLine(profile_->providerDisplayName()),
                                         fact(profile_->providerIP));
}

QString ProfileDetailModel::remotePairingPort() const {
    if (!profile_) return {};
    const std::uint16_t port = profile_->remotePairingPort;
    return port == 0 ? fact({}) : QString::number(port);
}

QString ProfileDetailModel::tunnelPortRange() const {
    return profile_ ? tunnelPortRangeText(*profile_) : QString();
}

QString ProfileDetailModel::serviceName() const {
    return profile_ ? fact(profile_->bonjourName) : QString();
}

QString ProfileDetailModel::host() const {
    return profile_ ? fact(profile_->bonjourHost) : QString();
}

QString ProfileDetailModel::serviceType() const {
    return profile_ ? fact(profile_->serviceType) : QString();
}

QString ProfileDetailModel::txtRecord() const {
    if (!profile_) return {};
    const std::size_t entries = profile_->txtRecord.size();
    return entries == 1 ? QStringLiteral("1 entry") : QStringLiteral("%1 entries").arg(entries);
}

void ProfileDetailModel::setSwitch(bool on) {
    if (!profile_) return;
    // What is started and stopped here replaces the profile.
    const DeviceProfile profile = *profile_;
    if (on) {
        coordinator_.startBridge(profile, true);
    } else {
        coordinator_.teardownBridge(profile.id(), AppCoordinator::CloseAnnouncement::announced,
                                    profile.displayName);
        coordinator_.setBridgeEnabled(false, profile.id());
    }
    // A switch that was pushed must show what holds, also when that has not changed. Not before the bridge
    // has told its first state, which it does in a turn of its own.
    QMetaObject::invokeMethod(this, "changed", Qt::QueuedConnection);
}

const ProfileDetailModel::Scan* ProfileDetailModel::shownScan() const {
    const auto found = profile_ ? scans_.find(profile_->id()) : scans_.end();
    return found == scans_.end() ? nullptr : &found->second;
}

bool ProfileDetailModel::scanning() const {
    return shownScan() != nullptr;
}

double ProfileDetailModel::scanFraction() const {
    const Scan* scan = shownScan();
    if (scan == nullptr || scan->total == 0) return 0;
    return static_cast<double>(scan->probed) / static_cast<double>(scan->total);
}

QString ProfileDetailModel::scanText() const {
    const Scan* scan = shownScan();
    return scan == nullptr ? QString() : probedPortsText(scan->probed, scan->total);
}

void ProfileDetailModel::scan() {
    if (!profile_ || scanning()) return;
    const std::string id = profile_->id();
    const std::uint64_t run = ++scanCount_;
    const auto withScan = [self = QPointer(this), id, run](const auto& step) {
        if (self.isNull()) return;
        const auto found = self->scans_.find(id);
        // The user may have ended it, or begun another one.
        if (found != self->scans_.end() && found->second.run == run) step(*self, found);
    };
    const auto end = [withScan] {
        withScan([](ProfileDetailModel& self, auto scan) {
            self.scans_.erase(scan);
            Q_EMIT self.scanChanged();
        });
    };
    const std::uint64_t number =
        coordinator_.diagnose(*profile_, {.onProgress =
                                              [withScan](std::size_t probed, std::size_t total) {
                                                  withScan([&](ProfileDetailModel& self, auto scan) {
                                                      scan->second.probed = probed;
                                                      scan->second.total = total;
                                                      Q_EMIT self.scanChanged();
                                                  });
                                              },
                                          .onEnd = [end](const RemotePairingScanReport&) { end(); },
                                          .onCancelled = end});
    scans_[id] = {run, number, 0, controlChannelScan(*profile_).portCount()};
    Q_EMIT scanChanged();
}

void ProfileDetailModel::stopScan() {
    const Scan* scan = shownScan();
    if (scan == nullptr) return;
    const std::string id = profile_->id();
    const std::uint64_t number = scan->number;
    scans_.erase(id);
    coordinator_.cancelDiagnose(id, number);
    Q_EMIT scanChanged();
}

}  // namespace quillbay
