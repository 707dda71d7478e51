#include "ui/models/UpdateModel.h"

#include <utility>

#include "platform/Text.h"
#include "ui/models/ShownText.h"

namespace quillbay {

namespace {

/// The version as it is shown. No version is as long as this; a hostile one must not fill the window.
QString shownVersion(const std::string& version) {
    constexpr std::size_t mostCharacters = 40;
    const std::string first = firstCharacters(version, mostCharacters);
    return shownLine(first.size() < version.size() ? first + "…" : first);
}

}  // namespace

UpdateModel::UpdateModel(UpdateChecker& checker, DesktopServices* desktop, QObject* parent)
    : QObject(parent),
      checker_(checker),
      desktop_(desktop),
      checked_(checker.changed.add([this] { Q_EMIT changed(); })) {}

bool UpdateModel::available() const {
    return checker_.available().has_value();
}

QString UpdateModel::newVersion() const {
    return shownVersion(checker_.available()->version);
}

QString UpdateModel::windowText() const {
    if (!available()) return {};
    return QStringLiteral("Quillbay %1 is available").arg(newVersion());
}

QString UpdateModel::panelText() const {
    if (!available()) return {};
    return QStringLiteral("Version %1 is available").arg(newVersion());
}

QString UpdateModel::getText() const {
    if (!available()) return {};
    return QStringLiteral("Get %1").arg(newVersion());
}

QString UpdateModel::versionText() const {
    return QStringLiteral("Version %1").arg(shownVersion(checker_.currentVersion()));
}

bool UpdateModel::upToDate() const {
    return checker_.hasCheckedSuccessfully() && !available();
}

void UpdateModel::open() {
    if (!available() || desktop_ == nullptr) return;
    // The banner stays, whether or not a browser came up: it can be clicked again.
    desktop_->openURL(checker_.available()->downloadURL, [](bool) {});
}

}  // namespace quillbay
