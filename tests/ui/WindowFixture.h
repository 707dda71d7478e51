#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSize>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"
#include "platform/SettingsStore.h"
#include "ui/WindowFakes.h"
#include "ui/design/Appearance.h"
#include "ui/models/AppActions.h"
#include "ui/models/LogModel.h"
#include "ui/models/MainWindowModel.h"
#include "ui/models/NoticesModel.h"
#include "ui/models/PanelModel.h"
#include "ui/models/ProfilesModel.h"
#include "ui/models/SettingsModel.h"
#include "ui/models/UpdateModel.h"
#include "update/UpdateChecker.h"
#include "update/UpdateServer.h"

/// How GoogleTest writes texts.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace quillbay {

/// Real windows on a real coordinator, whose host, network and desktop are scripted; driven by keys and
/// mouse.
///
/// A test describes the world (profiles with `save`, `world`, `network`), calls `show("MainWindow")`, and
/// looks at the window. Items are found by what they are called for people who cannot see (`control`), or by
/// the text that they show (`text`). A message of the QML engine fails the test. With QUILLBAY_QML=src/ui/qml
/// the QML files are read from there and need not be built.
class WindowFixture : public CoordinatorTest {
 public:
    /// Before the first test: Qt's messages are kept and judged at the end of each test.
    static void catchQtMessages();

 protected:
    WindowFixture();
    ~WindowFixture() override;
    void TearDown() override;

    /// The coordinator and the models, on the version "1.4.2". `show` does it when it was not done before.
    void makeModels();

    /// Shows a window of the module by its type ("MainWindow", "SettingsWindow", "MenuBarPanel") with its
    /// model, in this size; by default in its own. One window per test.
    QQuickWindow* show(const QString& type, QSize size = {});
    void setDark(bool dark);

    /// Handles everything that is due, on the main queue and in Qt, until `done`.
    bool until(const std::function<bool()>& done, std::chrono::seconds limit = std::chrono::seconds(20));
    /// The same until nothing moves any more: the window's next picture is its last.
    void settleWindow();

    // What the world does.

    /// A profile whose phone is reached at the world's address; ports and names as in `reachableProfile`.
    DeviceProfile save(const std::string& name, std::uint16_t port = 49733);
    void save(const DeviceProfile& profile);
    void untilStatus(const DeviceProfile& profile, BridgeStatus::Kind kind);
    /// Starts the bridge of a profile without an address of this computer: its error is "Error: Couldn't
    /// determine this Mac's network address.".
    void fail(const DeviceProfile& profile);
    /// Starts the bridge of a profile and holds it while it looks for the phone. Bridges that start later are
    /// held too.
    void pair(const DeviceProfile& profile);
    /// From now on the phones answer on the local network.
    void phonesAreNear() { presence_->near = true; }
    /// A phone that answers, and the profile's bridge on.
    DeviceProfile saveAndBridge(const std::string& name);
    /// The update service offers this version. Before the models are made.
    void offerUpdate(const std::string& version);
    /// From now on it offers this one.
    void offerNow(const std::string& version);
    /// A check finds what is offered.
    void findUpdate();

    // What a person sees. Without `within`, in the whole window. Null when there is none that is visible.

    [[nodiscard]] QQuickItem* control(const QString& accessibleName, QQuickItem* within = nullptr) const;
    [[nodiscard]] QQuickItem* text(const QString& shown, QQuickItem* within = nullptr) const;
    /// The first item of this QML type ("DeviceSidebarRow").
    [[nodiscard]] QQuickItem* ofType(const QString& type, QQuickItem* within = nullptr) const;
    [[nodiscard]] std::vector<QQuickItem*> allOfType(const QString& type, QQuickItem* within = nullptr) const;
    /// All texts that can be seen, in the order of the items.
    [[nodiscard]] QStringList texts(QQuickItem* within = nullptr) const;
    /// The accessible name of what has the keyboard.
    [[nodiscard]] QString focused() const;
    /// The part of the item that is not cut off by those it lies in.
    [[nodiscard]] QRectF visibleRect(const QQuickItem* item) const;
    /// What is cut off or overlaps, one sentence each. Nothing is well.
    [[nodiscard]] QStringList layoutFaults(QQuickItem* within = nullptr) const;

    // What a person does.

    void click(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton);
    void doubleClick(QQuickItem* item);
    void hover(QQuickItem* item);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);
    /// The accessible names of `count` stops of the Tab key from here.
    QStringList tabStops(int count);

    /// The window as it is now; also written to the folder in QUILLBAY_GRABS, if there is one, as NAME.png.
    QImage grab(const QString& name);

    fakes::RecordingDesktop desktop;
    fakes::FakeLaunchAtLogin launchAtLogin;
    std::unique_ptr<SettingsStore> settings;
    std::shared_ptr<UpdateChecker> checker;
    std::unique_ptr<ProfilesModel> profiles;
    std::unique_ptr<LogModel> log;
    std::unique_ptr<UpdateModel> updates;
    std::unique_ptr<NoticesModel> notices;
    std::unique_ptr<AppActions> actions;
    std::unique_ptr<MainWindowModel> mainWindow;
    std::unique_ptr<SettingsModel> settingsModel;
    std::unique_ptr<PanelModel> panel;
    std::unique_ptr<QQmlEngine> engine;
    Appearance* appearance = nullptr;
    std::unique_ptr<QQuickWindow> window;

 private:
    /// What a bridge's start is told about the phone on the local network, on a thread of its own.
    struct Presence {
        std::atomic<bool> near = false;
        /// Until the question is abandoned.
        std::atomic<bool> held = false;
    };
    [[nodiscard]] QObject* modelOf(const QString& type) const;

    std::shared_ptr<Presence> presence_ = std::make_shared<Presence>();
    std::unique_ptr<fakes::UpdateServer> updateServer_;
    std::string offeredVersion_;
    std::vector<std::unique_ptr<fakes::FakePhone>> phones_;
};

}  // namespace quillbay
