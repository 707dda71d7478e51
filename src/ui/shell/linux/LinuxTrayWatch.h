#pragma once

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <cstdint>
#include <memory>

#include "ui/shell/TrayWatch.h"

struct xcb_connection_t;

namespace quillbay {

/// A tray of either kind: one that shows the items which programs register over D-Bus (StatusNotifierWatcher,
/// StatusNotifierHost), or one that takes windows in (the system tray protocol of X11).
///
/// Qt decides which kind it uses when it is first asked for anything about trays, and keeps to that. So it
/// is not asked before a tray is there: one that comes after this program would never get the item.
class LinuxTrayWatch final : public TrayWatch, private QAbstractNativeEventFilter {
    Q_OBJECT

 public:
    explicit LinuxTrayWatch(const QDBusConnection& bus);
    ~LinuxTrayWatch() override;
    LinuxTrayWatch(const LinuxTrayWatch&) = delete;
    LinuxTrayWatch& operator=(const LinuxTrayWatch&) = delete;

    [[nodiscard]] bool isAvailable() const override { return onBus_ || onX11_ != 0; }

 private Q_SLOTS:
    void askBus();
    /// Looks for X11's tray and at what becomes of it.
    void lookOnX11();

 private:
    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;
    void setOnBus(bool available);

    QDBusConnection bus_;
    QDBusServiceWatcher registrar_;
    /// To the last question.
    std::unique_ptr<QDBusPendingCallWatcher> answer_;
    bool onBus_ = false;
    xcb_connection_t* x11_ = nullptr;
    std::uint32_t trayAtom_ = 0;
    std::uint32_t managerAtom_ = 0;
    /// The tray's window; 0 without one.
    std::uint32_t onX11_ = 0;
};

}  // namespace quillbay
