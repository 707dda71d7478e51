#include "ui/models/RemovalModel.h"

#include "ui/models/ShownText.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

RemovalModel::RemovalModel(AppCoordinator& coordinator, QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part == AppCoordinator::Published::profiles && isOpen()) follow();
      })) {}

void RemovalModel::ask(const QString& profileID, Origin origin) {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID);
    if (profile == nullptr) return;
    profileID_ = profileID;
    displayName_ = shownLine(profile->displayName);
    origin_ = origin;
    Q_EMIT changed();
}

void RemovalModel::follow() {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID_);
    if (profile == nullptr) return cancel();
    const QString displayName = shownLine(profile->displayName);
    if (displayName == displayName_) return;
    displayName_ = displayName;
    Q_EMIT changed();
}

QString RemovalModel::title() const {
    return QStringLiteral("Remove \"%1\"?").arg(displayName_);
}

QString RemovalModel::message() const {
    switch (origin_) {
        case Origin::deviceList:
            return QStringLiteral(
                "The profile and bridge settings will be permanently deleted. This can't be undone.");
        case Origin::dangerZone:
            break;
    }
    return QStringLiteral("The profile and bridge settings will be permanently deleted.");
}

void RemovalModel::confirm() {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID_);
    if (profile == nullptr) return;
    const DeviceProfile removed = *profile;
    cancel();
    coordinator_.deleteProfile(removed);
}

void RemovalModel::cancel() {
    if (!isOpen()) return;
    // The texts stay: they are still to be read while the sheet goes.
    profileID_.clear();
    Q_EMIT changed();
}

}  // namespace quillbay
