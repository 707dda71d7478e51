#include "ui/models/ProviderSettingsModel.h"

#include <QPointer>
#include <optional>
#include <string>

#include "platform/Text.h"
#include "ui/models/ShownText.h"

namespace quillbay {

namespace {

QString countText(std::size_t count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" device found") : QStringLiteral(" devices found"));
}

}  // namespace

ProviderSettingsModel::ProviderSettingsModel(AppCoordinator& coordinator, const MeshVPNProviderType& type,
                                             QObject* parent)
    : QObject(parent), coordinator_(coordinator), type_(type) {}

void ProviderSettingsModel::load(const SettingsStore& settings) {
    if (pathNotice_.isEmpty()) {
        const std::optional<std::string> kept = settings.string(AppCoordinator::binaryPathKey(type_.id));
        path_ = QString::fromStdString(kept.value_or(""));
        Q_EMIT pathChanged();
    }
    show(Result::None, {});
}

QString ProviderSettingsModel::providerID() const {
    return QString::fromStdString(type_.id);
}

QString ProviderSettingsModel::label() const {
    return QString::fromStdString(type_.displayName) + QStringLiteral(" CLI path");
}

bool ProviderSettingsModel::supportsDeviceList() const {
    return type_.supportsDeviceDiscovery;
}

QString ProviderSettingsModel::note() const {
    if (supportsDeviceList()) return {};
    return QStringLiteral("No automatic device list for ") + QString::fromStdString(type_.displayName) +
           QStringLiteral(" — paste the device's IP directly in Add Device.");
}

void ProviderSettingsModel::setPath(const QString& path) {
    if (path == path_) return;
    path_ = path;
    const std::optional<std::string> notKept = coordinator_.setBinaryPath(path.toStdString(), type_.id);
    pathNotice_ = notKept
                      ? QStringLiteral("This path is used until Quillbay quits. It could not be saved: ") +
                            shownLine(*notKept)
                      : QString();
    Q_EMIT pathChanged();
    show(Result::None, {});
}

void ProviderSettingsModel::testDeviceList() {
    if (testing_) return;
    testing_ = true;
    show(Result::None, {});
    coordinator_.refreshDevices(type_.id, [model = QPointer(this)] {
        if (model) model->endTest();
    });
}

void ProviderSettingsModel::endTest() {
    testing_ = false;
    const auto error = coordinator_.lastErrorByProviderID().find(type_.id);
    if (error != coordinator_.lastErrorByProviderID().end()) {
        show(Result::Failed, shownLines(trimmed(error->second)));
        return;
    }
    const auto listed = coordinator_.devicesByProviderID().find(type_.id);
    const bool none = listed == coordinator_.devicesByProviderID().end();
    show(Result::Found, countText(none ? 0 : listed->second.size()));
}

void ProviderSettingsModel::show(Result result, const QString& text) {
    result_ = result;
    resultText_ = text;
    Q_EMIT resultChanged();
}

}  // namespace quillbay
