#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QTimer>
#include <memory>
#include <optional>
#include <string>

#include "control/ControlServer.h"
#include "core/AppCoordinator.h"
#include "platform/LaunchAtLogin.h"
#include "platform/NetworkThreads.h"
#include "platform/SettingsStore.h"
#include "platform/SystemHost.h"
#include "ui/design/Appearance.h"
#include "ui/shell/DesktopLook.h"
#include "ui/shell/EndingSignals.h"
#include "ui/shell/PanelWindow.h"
#include "ui/shell/QmlWindows.h"
#include "ui/shell/QtMainQueue.h"
#include "ui/shell/TrayItem.h"
#include "ui/shell/TrayWatch.h"
#include "ui/shell/ViewModels.h"
#include "update/UpdateChecker.h"

namespace quillbay {

/// The program put together: the coordinator and the update check, the control socket, the view models, the
/// windows and the item in the tray. One per process, made on the main thread when Qt's application exists;
/// when it goes, whatever it started has ended, and which bridges are wanted is left as it is.
///
/// Where it can be reached: by the item in the tray, if there is a tray, and then the main window may be
/// closed. Without a tray the main window is open, and closing it ends the program. A tray that goes is given
/// some time to return before the window opens.
class Application : public QObject {
    Q_OBJECT

 public:
    /// `unreachable` says why no other program can reach this one; empty when it can. Throws
    /// std::runtime_error, with a sentence, when the user has no home directory.
    Application(QtMainQueue& mainQueue, NetworkThreads& network, const QString& unreachable);
    ~Application() override;

    /// What there is to see at the start.
    enum class Start { window, hidden };
    void start(Start how);

    /// Ends the event loop.
    static void quit();

 private:
    void connectActions();
    void followDesktop();
    void serveControl();
    void showMainWindow(const std::optional<std::string>& token = {});
    void togglePanel(const QRect& item);
    void mainWindowClosed();
    void trayChanged();
    /// Says in the main window what will not be kept, as it is now.
    void noteStorage();
    /// For a process that ends without having been asked to.
    void endBridges();
    static void endWithoutLoop();

    SystemHost system_;
    SettingsStore settings_;
    std::shared_ptr<AppCoordinator> coordinator_;
    std::shared_ptr<UpdateChecker> updates_;
    std::unique_ptr<LaunchAtLogin> launchAtLogin_;
    ViewModels models_;
    std::unique_ptr<ControlServer> control_;
    EndingSignals signals_;

    std::unique_ptr<DesktopLook> look_;
    std::unique_ptr<TrayWatch> tray_;
    QQmlEngine engine_;
    Appearance* appearance_;
    TrayItem trayItem_;
    FramedWindow mainWindow_;
    FramedWindow settingsWindow_;
    PanelWindow panel_;
    /// Runs while the first window waits for the desktop's look.
    QTimer firstLook_;
    /// Runs while a tray is awaited and no window is there.
    QTimer trayPatience_;
    QStringList storageProblems_;
};

}  // namespace quillbay
