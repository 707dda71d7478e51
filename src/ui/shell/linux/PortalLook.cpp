#include "ui/shell/linux/PortalLook.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QMap>
#include <QStringList>

namespace quillbay {

namespace {

/// By the name of a group of settings, and then by key.
using Settings = QMap<QString, QVariantMap>;

QString service() {
    return QStringLiteral("org.freedesktop.portal.Desktop");
}
QString path() {
    return QStringLiteral("/org/freedesktop/portal/desktop");
}
QString interface() {
    return QStringLiteral("org.freedesktop.portal.Settings");
}
QString appearanceGroup() {
    return QStringLiteral("org.freedesktop.appearance");
}
QString interfaceGroup() {
    return QStringLiteral("org.gnome.desktop.interface");
}

/// Some portals put a value into a variant of its own before they put it into that of the answer.
QVariant unwrapped(const QVariant& value) {
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
}

}  // namespace

PortalLook::PortalLook(const QDBusConnection& bus)
    : bus_(bus), portal_(service(), bus_, QDBusServiceWatcher::WatchForRegistration) {
    // The connection finds the slot below only when it knows this type by its name.
    qRegisterMetaType<QDBusVariant>();
    qDBusRegisterMetaType<Settings>();
    QCoreApplication::instance()->installEventFilter(this);
    if (!bus_.isConnected()) {
        known_ = true;
        return;
    }
    bus_.connect(service(), path(), interface(), QStringLiteral("SettingChanged"), this,
                 SLOT(take(QString, QString, QDBusVariant)));
    // One that starts late, or anew, may have other settings.
    connect(&portal_, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
    ask();
}

bool PortalLook::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == QCoreApplication::instance()) {
        const bool before = dark();
        paletteDark_ = paletteIsDark();
        if (dark() != before) Q_EMIT changed();
    }
    return false;
}

void PortalLook::ask() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(service(), path(), interface(), QStringLiteral("ReadAll"));
    call << QStringList{appearanceGroup(), interfaceGroup()};
    answer_ = std::make_unique<QDBusPendingCallWatcher>(bus_.asyncCall(call));
    connect(answer_.get(), &QDBusPendingCallWatcher::finished, this, [this] {
        const QDBusPendingReply<Settings> reply = *answer_;
        if (!reply.isError()) {
            const Settings settings = reply.value();
            for (auto group = settings.cbegin(); group != settings.cend(); ++group)
                for (auto value = group->cbegin(); value != group->cend(); ++value)
                    static_cast<void>(set(group.key(), value.key(), value.value()));
        }
        known_ = true;
        Q_EMIT changed();
    });
}

void PortalLook::take(const QString& name, const QString& key, const QDBusVariant& value) {
    if (set(name, key, value.variant())) Q_EMIT changed();
}

bool PortalLook::set(const QString& name, const QString& key, const QVariant& value) {
    const QVariant plain = unwrapped(value);
    if (name == appearanceGroup() && key == QLatin1String("color-scheme")) {
        constexpr unsigned prefersDark = 1;
        constexpr unsigned prefersLight = 2;
        const unsigned scheme = plain.toUInt();
        dark_ = scheme == prefersDark || scheme == prefersLight ? std::optional(scheme == prefersDark)
                                                                : std::nullopt;
        return true;
    }
    if (name == interfaceGroup() && key == QLatin1String("enable-animations")) {
        reducedMotion_ = !plain.toBool();
        return true;
    }
    return false;
}

std::unique_ptr<DesktopLook> DesktopLook::system() {
    return std::make_unique<PortalLook>(QDBusConnection::sessionBus());
}

}  // namespace quillbay
