#pragma once

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>

namespace quillbay::fakes {

/// The registrar of tray items on a bus (StatusNotifierWatcher), on the calling thread's event loop. Whether
/// a tray that shows them is there is a question of its own.
class TrayOnBus : public QDBusVirtualObject {
 public:
    explicit TrayOnBus(const QDBusConnection& bus) : bus_(bus) {
        bus_.registerVirtualObject(path(), this, QDBusConnection::SingleNode);
    }

    void appear() { ASSERT_TRUE(bus_.registerService(name())); }
    void vanish() { ASSERT_TRUE(bus_.unregisterService(name())); }
    /// The tray itself comes or goes, and says so.
    void setHost(bool there) {
        hasHost = there;
        ASSERT_TRUE(
            bus_.send(QDBusMessage::createSignal(path(), name(),
                                                 there ? QStringLiteral("StatusNotifierHostRegistered")
                                                       : QStringLiteral("StatusNotifierHostUnregistered"))));
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override {
        return QStringLiteral(
            "<interface name=\"org.kde.StatusNotifierWatcher\">"
            "<method name=\"RegisterStatusNotifierItem\"><arg type=\"s\" direction=\"in\"/></method>"
            "<property name=\"IsStatusNotifierHostRegistered\" type=\"b\" access=\"read\"/>"
            "<signal name=\"StatusNotifierHostRegistered\"/></interface>");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == QLatin1String("Introspect")) return false;
        QDBusMessage reply = message.createReply();
        if (message.member() == QLatin1String("Get")) {
            ++asked;
            reply << QVariant::fromValue(QDBusVariant(hasHost));
        }
        if (message.member() == QLatin1String("RegisterStatusNotifierItem"))
            items += message.arguments().constFirst().toString();
        connection.send(reply);
        return true;
    }

    bool hasHost = true;
    /// How often somebody wanted to know that.
    int asked = 0;
    /// The names under which items were registered.
    QStringList items;

 private:
    static QString name() { return QStringLiteral("org.kde.StatusNotifierWatcher"); }
    static QString path() { return QStringLiteral("/StatusNotifierWatcher"); }

    QDBusConnection bus_;
};

}  // namespace quillbay::fakes
