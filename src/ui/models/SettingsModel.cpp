#include "ui/models/SettingsModel.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "providers/MeshVPNProviderRegistry.h"
#include "ui/models/ShownText.h"

namespace quillbay {

SettingsModel::SettingsModel(AppCoordinator& coordinator, const SettingsStore& settings,
                             LaunchAtLogin& launchAtLogin, ProfilesModel& profiles, UpdateModel& updates,
                             QObject* parent)
    : QObject(parent),
      coordinator_(coordinator),
      settings_(settings),
      launchAtLogin_(launchAtLogin),
      profiles_(profiles),
      updates_(updates) {
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all())
        providers_.append(new ProviderSettingsModel(coordinator, type, this));
    published_ = coordinator_.published.add([this](AppCoordinator::Published part) {
        if (part == AppCoordinator::Published::launchAtLogin) Q_EMIT launchAtLoginChanged();
        if (part == AppCoordinator::Published::access) {
            // What was said of an earlier change does not hold for this one.
            onlyThisComputerError_.clear();
            Q_EMIT onlyThisComputerChanged();
        }
    });
    loadPersistedConfig();
}

bool SettingsModel::launchAtLogin() const {
    return coordinator_.launchAtLoginEnabled();
}

bool SettingsModel::onlyThisComputer() const {
    return coordinator_.onlyThisComputer();
}

void SettingsModel::loadPersistedConfig() {
    for (ProviderSettingsModel* provider : std::as_const(providers_))
        provider->load(settings_);
    launchAtLoginError_.clear();
    // The user may have changed it in the desktop's own settings.
    coordinator_.setLaunchAtLoginEnabled(launchAtLogin_.isEnabled());
}

void SettingsModel::setLaunchAtLogin(bool enabled) {
    launchAtLoginError_.clear();
    try {
        if (enabled)
            launchAtLogin_.enable();
        else
            launchAtLogin_.disable();
    } catch (const std::exception& error) {
        launchAtLoginError_ = shownLine(error.what());
    }
    coordinator_.setLaunchAtLoginEnabled(launchAtLogin_.isEnabled());
    // Also without a change: the switch has to go back when the desktop refused.
    Q_EMIT launchAtLoginChanged();
}

void SettingsModel::setOnlyThisComputer(bool only) {
    const std::optional<std::string> notKept = coordinator_.setOnlyThisComputer(only);
    onlyThisComputerError_ =
        notKept
            ? QStringLiteral("This holds until Quillbay quits. It could not be saved: ") + shownLine(*notKept)
            : QString();
    Q_EMIT onlyThisComputerChanged();
}

void SettingsModel::sendDiagnostics() {
    // Which also says in the log that the user asked for it.
    coordinator_.sendToSupport();
}

}  // namespace quillbay
