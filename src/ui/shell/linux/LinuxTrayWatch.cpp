#include "ui/shell/linux/LinuxTrayWatch.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QMetaObject>

#include "ui/shell/linux/X11.h"

namespace quillbay {

namespace {

QString registrarName() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}
QString registrarPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

}  // namespace

LinuxTrayWatch::LinuxTrayWatch(const QDBusConnection& bus)
    : bus_(bus), registrar_(registrarName(), bus_, QDBusServiceWatcher::WatchForOwnerChange) {
    if (bus_.isConnected()) {
        connect(&registrar_, &QDBusServiceWatcher::serviceRegistered, this, &LinuxTrayWatch::askBus);
        connect(&registrar_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setOnBus(false); });
        for (const char* news : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
            bus_.connect(registrarName(), registrarPath(), registrarName(), QString::fromLatin1(news), this,
                         SLOT(askBus()));
        askBus();
    }
    x11_ = x11Connection();
    if (x11_ == nullptr) return;
    // Programs and trays use that of the first screen, as Qt does.
    trayAtom_ = x11Atom(x11_, "_NET_SYSTEM_TRAY_S0");
    managerAtom_ = x11Atom(x11_, "MANAGER");
    QCoreApplication::instance()->installNativeEventFilter(this);
    lookOnX11();
}

LinuxTrayWatch::~LinuxTrayWatch() {
    if (x11_ != nullptr) QCoreApplication::instance()->removeNativeEventFilter(this);
}

void LinuxTrayWatch::askBus() {
    QDBusMessage call = QDBusMessage::createMethodCall(registrarName(), registrarPath(),
                                                       QStringLiteral("org.freedesktop.DBus.Properties"),
                                                       QStringLiteral("Get"));
    call << registrarName() << QStringLiteral("IsStatusNotifierHostRegistered");
    // Nobody is started to answer: who starts one is the desktop.
    call.setAutoStartService(false);
    answer_ = std::make_unique<QDBusPendingCallWatcher>(bus_.asyncCall(call));
    connect(answer_.get(), &QDBusPendingCallWatcher::finished, this, [this] {
        const QDBusPendingReply<QDBusVariant> reply = *answer_;
        setOnBus(!reply.isError() && reply.value().variant().toBool());
    });
}

void LinuxTrayWatch::setOnBus(bool available) {
    const bool before = isAvailable();
    onBus_ = available;
    if (isAvailable() != before) Q_EMIT changed();
}

void LinuxTrayWatch::lookOnX11() {
    const bool before = isAvailable();
    onX11_ = x11SelectionOwner(x11_, trayAtom_);
    if (onX11_ != 0) {
        // The same as Qt selects on it, because both are one client.
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(x11_, onX11_, XCB_CW_EVENT_MASK, &events);
        xcb_flush(x11_);
    }
    if (isAvailable() != before) Q_EMIT changed();
}

bool LinuxTrayWatch::nativeEventFilter(const QByteArray& kind, void* message, qintptr* /*result*/) {
    if (kind != "xcb_generic_event_t") return false;
    constexpr unsigned sentByAnother = 0x80;
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    const unsigned type = event->response_type & ~sentByAnother;
    bool news = false;
    if (type == XCB_CLIENT_MESSAGE) {
        const auto* const sent = reinterpret_cast<const xcb_client_message_event_t*>(event);
        news = sent->type == managerAtom_ && sent->data.data32[1] == trayAtom_;
    } else if (type == XCB_DESTROY_NOTIFY) {
        news = onX11_ != 0 && reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == onX11_;
    }
    // Not from within: Qt takes in the same event first.
    if (news) QMetaObject::invokeMethod(this, "lookOnX11", Qt::QueuedConnection);
    return false;
}

std::unique_ptr<TrayWatch> TrayWatch::system() {
    return std::make_unique<LinuxTrayWatch>(QDBusConnection::sessionBus());
}

}  // namespace quillbay
