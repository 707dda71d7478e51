#pragma once

#include <memory>

#include "core/AppCoordinator.h"
#include "platform/DesktopServices.h"
#include "platform/LaunchAtLogin.h"
#include "platform/SettingsStore.h"
#include "ui/models/AppActions.h"
#include "ui/models/LogModel.h"
#include "ui/models/MainWindowModel.h"
#include "ui/models/NoticesModel.h"
#include "ui/models/PanelModel.h"
#include "ui/models/ProfilesModel.h"
#include "ui/models/SettingsModel.h"
#include "ui/models/SharedModels.h"
#include "ui/models/UpdateModel.h"
#include "update/UpdateChecker.h"

namespace quillbay {

/// What the windows show, one of each for the life of the program. Main thread; what it is made of must
/// outlive it.
struct ViewModels {
    ViewModels(AppCoordinator& coordinator, UpdateChecker& checker, DesktopServices* desktop,
               SettingsStore& settings, LaunchAtLogin& launchAtLogin)
        : profiles(coordinator),
          log(coordinator.logs()),
          updates(checker, desktop),
          mainWindow(coordinator, settings, shared()),
          settingsWindow(coordinator, settings, launchAtLogin, profiles, updates),
          panel(coordinator, shared()) {}
    ViewModels(const ViewModels&) = delete;
    ViewModels& operator=(const ViewModels&) = delete;

    [[nodiscard]] SharedModels shared() { return {profiles, log, updates, notices, actions}; }

    ProfilesModel profiles;
    LogModel log;
    UpdateModel updates;
    NoticesModel notices;
    AppActions actions;
    MainWindowModel mainWindow;
    SettingsModel settingsWindow;
    PanelModel panel;
};

}  // namespace quillbay
