#include "ui/shell/Application.h"

#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <exception>

#include "core/Version.h"
#include "platform/HostTools.h"
#include "platform/PrintableText.h"
#include "platform/PrintedError.h"
#include "ui/shell/StorageNotices.h"

namespace quillbay {

namespace {

using namespace std::chrono_literals;

/// How long the first window waits for the desktop to say whether it is to be dark.
constexpr auto lookPatience = 100ms;
/// How long a tray may take to come, at login or after a crash, before a window takes its place.
constexpr auto trayReturn = 10s;
constexpr auto panelFade = 120ms;

Application* running = nullptr;

QQmlEngine& withModule(QQmlEngine& engine) {
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setOutputWarningsToStandardError(true);
    return engine;
}

Appearance* appearanceOf(QQmlEngine& engine) {
    auto* const appearance =
        withModule(engine).singletonInstance<Appearance*>(qmlTypeId("Quillbay", 1, 0, "Appearance"));
    if (appearance == nullptr) throw std::logic_error("the QML module lacks its Appearance");
    return appearance;
}

}  // namespace

Application::Application(QtMainQueue& mainQueue, NetworkThreads& network, const QString& unreachable)
    : system_(mainQueue, network),
      settings_(system_.host().files),
      coordinator_(AppCoordinator::make(system_.host())),
      updates_(UpdateChecker::make(system_.host(), applicationVersion())),
      launchAtLogin_(LaunchAtLogin::system(programDirectory() / "quillbay")),
      models_(*coordinator_, *updates_, system_.host().desktop, settings_, *launchAtLogin_),
      signals_([] { quit(); }),
      look_(DesktopLook::system()),
      tray_(TrayWatch::system()),
      appearance_(appearanceOf(engine_)),
      trayItem_(engine_, *appearance_, models_.panel, *tray_),
      mainWindow_(engine_, QStringLiteral("MainWindow"), &models_.mainWindow, settings_,
                  "window.main.geometry"),
      settingsWindow_(engine_, QStringLiteral("SettingsWindow"), &models_.settingsWindow, settings_,
                      "window.settings.geometry"),
      panel_(engine_, &models_.panel) {
    running = this;
    // A display that goes away makes Qt end the process on the spot.
    std::atexit(endWithoutLoop);
    if (unreachable.isEmpty())
        serveControl();
    else
        models_.notices.add(unreachable);
    followDesktop();
    connectActions();
}

Application::~Application() {
    running = nullptr;
}

void Application::start(Start how) {
    // Before anything that a person could do.
    system_.host().mainQueue.post([this] {
        coordinator_->restorePersistedBridges();
        updates_->start();
    });
    trayPatience_.setSingleShot(true);
    trayPatience_.setInterval(trayReturn);
    connect(&trayPatience_, &QTimer::timeout, this, [this] { showMainWindow(); });
    if (how == Start::hidden) return trayChanged();
    if (look_->isKnown()) return showMainWindow();
    firstLook_.setSingleShot(true);
    connect(&firstLook_, &QTimer::timeout, this, [this] { showMainWindow(); });
    firstLook_.start(lookPatience);
}

void Application::quit() {
    // Not `quit`, which would ask the windows first.
    QCoreApplication::exit(0);
}

void Application::connectActions() {
    const AppActions& actions = models_.actions;
    connect(&actions, &AppActions::showMainWindow, this, [this](const QString& profileID) {
        if (!profileID.isEmpty()) models_.mainWindow.setSelection(profileID);
        showMainWindow();
    });
    connect(&actions, &AppActions::addDevice, this, [this] {
        showMainWindow();
        models_.mainWindow.beginAdd();
    });
    connect(&actions, &AppActions::showSettings, this, [this] { settingsWindow_.show(); });
    connect(&actions, &AppActions::closePanel, this, [this] { panel_.close(); });
    connect(&actions, &AppActions::quit, this, [] { quit(); });
    connect(&trayItem_, &TrayItem::pressed, this, &Application::togglePanel);
    connect(&mainWindow_, &FramedWindow::closed, this, &Application::mainWindowClosed);
    connect(tray_.get(), &TrayWatch::changed, this, &Application::trayChanged);
}

void Application::followDesktop() {
    const auto follow = [this] {
        appearance_->setDark(look_->dark());
        appearance_->setReducedMotion(look_->reducedMotion());
        if (firstLook_.isActive()) showMainWindow();
    };
    connect(look_.get(), &DesktopLook::changed, this, follow);
    follow();
}

void Application::serveControl() {
    try {
        control_ = std::make_unique<ControlServer>(
            system_.host(), *coordinator_,
            [this](const std::optional<std::string>& token) { showMainWindow(token); });
    } catch (const std::exception& error) {
        models_.notices.add(QStringLiteral("Quillbay can't be reached from a terminal: ") +
                            QString::fromStdString(printable(printedError(error))));
    }
}

void Application::showMainWindow(const std::optional<std::string>& token) {
    firstLook_.stop();
    trayPatience_.stop();
    panel_.close();
    if (!mainWindow_.isShown()) noteStorage();
    mainWindow_.show(token);
}

void Application::togglePanel(const QRect& item) {
    panel_.toggle(item, appearance_->reducedMotion() ? 0ms : panelFade);
}

void Application::mainWindowClosed() {
    if (!tray_->isAvailable()) quit();
}

void Application::trayChanged() {
    if (tray_->isAvailable())
        trayPatience_.stop();
    else if (!mainWindow_.isShown())
        trayPatience_.start();
}

void Application::noteStorage() {
    const QStringList problems = storageProblems(system_.host().files);
    for (const QString& past : storageProblems_)
        if (!problems.contains(past)) models_.notices.remove(past);
    for (const QString& problem : problems)
        if (!storageProblems_.contains(problem)) models_.notices.add(problem);
    storageProblems_ = problems;
}

void Application::endBridges() {
    control_.reset();
    coordinator_.reset();
}

void Application::endWithoutLoop() {
    if (running == nullptr) return;
    running->endBridges();
    // The threads still run, and what the process would tear down now is theirs too.
    ::_exit(EXIT_FAILURE);
}

}  // namespace quillbay
