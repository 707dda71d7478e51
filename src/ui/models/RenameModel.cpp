#include "ui/models/RenameModel.h"

#include "platform/Text.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

RenameModel::RenameModel(AppCoordinator& coordinator, QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part != AppCoordinator::Published::profiles || !isOpen()) return;
          if (storedProfile(coordinator_, profileID_) == nullptr) cancel();
      })) {}

void RenameModel::begin(const QString& profileID) {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID);
    if (profile == nullptr) return;
    profileID_ = profileID;
    setText(QString::fromStdString(profile->displayName));
    Q_EMIT openChanged();
}

bool RenameModel::canSave() const {
    return !trimmed(text_.toStdString()).empty();
}

void RenameModel::setText(const QString& text) {
    if (text == text_) return;
    text_ = text;
    Q_EMIT textChanged();
}

void RenameModel::save() {
    const DeviceProfile* profile = storedProfile(coordinator_, profileID_);
    if (profile == nullptr || !canSave()) return;
    DeviceProfile renamed = *profile;
    renamed.displayName = trimmed(text_.toStdString());
    cancel();
    coordinator_.saveProfile(renamed, AppCoordinator::SaveAnnouncement::announced);
}

void RenameModel::cancel() {
    if (!isOpen()) return;
    profileID_.clear();
    Q_EMIT openChanged();
}

}  // namespace quillbay
