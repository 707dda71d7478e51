#include "ui/shell/QmlWindows.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QScreen>
#include <QVariant>
#include <exception>
#include <stdexcept>
#include <utility>

namespace quillbay {

namespace {

QList<QRect> availableScreens() {
    QList<QRect> areas;
    const QScreen* const first = QGuiApplication::primaryScreen();
    if (first != nullptr) areas += first->availableGeometry();
    for (const QScreen* screen : QGuiApplication::screens())
        if (screen != first) areas += screen->availableGeometry();
    return areas;
}

}  // namespace

std::unique_ptr<QQuickWindow> makeWindow(QQmlEngine& engine, const QString& type, QObject* model,
                                         const QByteArray& members) {
    QQmlComponent component(&engine);
    component.setData("import Quillbay\n" + type.toUtf8() + " {" + members + "}", QUrl());
    std::unique_ptr<QObject> made(
        component.createWithInitialProperties({{QStringLiteral("model"), QVariant::fromValue(model)}}));
    auto* const window = qobject_cast<QQuickWindow*>(made.get());
    if (window == nullptr) throw std::runtime_error(component.errorString().toStdString());
    static_cast<void>(made.release());
    return std::unique_ptr<QQuickWindow>(window);
}

void bringToFront(QQuickWindow& window, const std::optional<std::string>& token) {
    // Where Qt looks for it, and takes it away again.
    if (token && QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(*token));
    if ((window.windowStates() & Qt::WindowMinimized) != 0)
        window.setWindowStates(window.windowStates() & ~Qt::WindowStates(Qt::WindowMinimized));
    window.setVisible(true);
    window.raise();
    window.requestActivate();
}

FramedWindow::FramedWindow(QQmlEngine& engine, QString type, QObject* model, SettingsStore& settings,
                           std::string key)
    : engine_(engine), type_(std::move(type)), model_(model), settings_(settings), key_(std::move(key)) {}

FramedWindow::~FramedWindow() {
    close();
}

void FramedWindow::show(const std::optional<std::string>& token) {
    if (window_) return bringToFront(*window_, token);
    window_ = makeWindow(engine_, type_, model_);
    restorePlace();
    for (const auto changed :
         {&QWindow::xChanged, &QWindow::yChanged, &QWindow::widthChanged, &QWindow::heightChanged})
        connect(window_.get(), changed, this, &FramedWindow::notePlace);
    connect(window_.get(), &QWindow::windowStateChanged, this, &FramedWindow::notePlace);
    connect(window_.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (visible || !window_) return;
        keepPlace();
        // It is still at work with its own closing.
        window_.release()->deleteLater();
        Q_EMIT closed();
    });
    if (place_.maximized) window_->setWindowStates(Qt::WindowMaximized);
    bringToFront(*window_, token);
}

void FramedWindow::close() {
    if (!window_) return;
    keepPlace();
    window_.reset();
}

void FramedWindow::restorePlace() {
    const auto stored = parseGeometry(settings_.string(key_).value_or(""));
    if (!stored) {
        place_ = {window_->geometry(), false};
        return;
    }
    place_ = *stored;
    place_.rect.setSize(place_.rect.size().expandedTo(window_->minimumSize()));
    place_.rect = fittedTo(availableScreens(), place_.rect);
    window_->setGeometry(place_.rect);
}

void FramedWindow::notePlace() {
    const Qt::WindowStates states = window_->windowStates();
    if ((states & Qt::WindowMinimized) != 0) return;
    place_.maximized = (states & (Qt::WindowMaximized | Qt::WindowFullScreen)) != 0;
    if (!place_.maximized) place_.rect = window_->geometry();
}

void FramedWindow::keepPlace() {
    const std::string text = geometryText(place_);
    try {
        if (settings_.string(key_) != text) settings_.setString(key_, text);
    } catch (const std::exception&) {
        // A notice in the main window says that settings are not kept here; the next start opens it anywhere.
    }
}

}  // namespace quillbay
