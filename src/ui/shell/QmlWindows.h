#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QString>
#include <memory>
#include <optional>
#include <string>

#include "platform/SettingsStore.h"
#include "ui/shell/WindowGeometry.h"

namespace quillbay {

/// A window of the QML module, of the type `type` and with these members besides, on its model; not shown
/// yet. Throws std::runtime_error
/// with what the engine says when there is none.
std::unique_ptr<QQuickWindow> makeWindow(QQmlEngine& engine, const QString& type, QObject* model,
                                         const QByteArray& members = {});

/// Shows the window before all others and gives it the keyboard, as far as the window manager lets it.
/// `token` is the desktop's leave, handed over by another program.
void bringToFront(QQuickWindow& window, const std::optional<std::string>& token = {});

/// A window with a frame, which remembers its place. It exists only while it is shown: a hidden one would
/// keep all its memory. Main thread; what it is made of must outlive it.
class FramedWindow : public QObject {
    Q_OBJECT

 public:
    /// `key` names the place in the settings.
    FramedWindow(QQmlEngine& engine, QString type, QObject* model, SettingsStore& settings, std::string key);
    ~FramedWindow() override;

    /// Before all others, with the keyboard.
    void show(const std::optional<std::string>& token = {});
    [[nodiscard]] bool isShown() const { return window_ != nullptr; }
    /// Closes it without saying so, and remembers its place.
    void close();

 Q_SIGNALS:
    /// The user has closed it.
    void closed();

 private:
    void restorePlace();
    void notePlace();
    void keepPlace();

    QQmlEngine& engine_;
    QString type_;
    QObject* model_;
    SettingsStore& settings_;
    std::string key_;
    std::unique_ptr<QQuickWindow> window_;
    WindowGeometry place_;
};

}  // namespace quillbay
