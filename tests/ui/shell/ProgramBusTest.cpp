// The real program on a session bus: a tray that registers items there, and a portal that says nothing.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>
#include <memory>

#include "fakes/PrivateBus.h"
#include "ui/shell/ProgramFixture.h"
#include "ui/shell/TrayOnBus.h"

namespace quillbay {
namespace {

/// A portal that takes every call and answers none.
class SilentPortal : public QDBusVirtualObject {
 public:
    explicit SilentPortal(QDBusConnection bus) {
        bus.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                  QDBusConnection::SingleNode);
        EXPECT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override {
        calls += message.member();
        message.setDelayedReply(true);
        return true;
    }

    QStringList calls;
};

class ProgramBus : public ProgramFixture {
 protected:
    ProgramBus() : bus_(home()) {
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
        connection = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), QStringLiteral("test")));
    }
    ~ProgramBus() override {
        connection.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("test"));
    }

    static bool until(const std::function<bool()>& condition) {
        return ProgramFixture::until([&condition] {
            QCoreApplication::processEvents();
            return condition();
        });
    }
    /// The item is pressed.
    void activate(const QString& item) const {
        QDBusMessage call = QDBusMessage::createMethodCall(item, QStringLiteral("/StatusNotifierItem"),
                                                           QStringLiteral("org.kde.StatusNotifierItem"),
                                                           QStringLiteral("Activate"));
        call << 0 << 0;
        ASSERT_TRUE(connection->send(call));
    }
    [[nodiscard]] bool hasWindow() const { return desktop->mainWindow().has_value(); }

 private:
    // Before the connection, which is on them.
    int argumentCount_ = 0;
    QCoreApplication application_{argumentCount_, nullptr};
    fakes::PrivateBus bus_;

 protected:
    std::unique_ptr<QDBusConnection> connection;
};

TEST_F(ProgramBus, a_tray_of_the_bus_that_comes_later_is_used) {
    fakes::TrayOnBus tray(*connection);
    const ChildProcess program = startWithWindow();
    tray.appear();
    ASSERT_TRUE(until([&] { return tray.items.size() == 1; }));
    ASSERT_TRUE(until([&] { return desktop->active() == desktop->mainWindow()->id; }));
    desktop->closeActiveWindow();
    EXPECT_TRUE(until([&] { return !hasWindow(); }));
    EXPECT_TRUE(program.isRunning());

    activate(tray.items.constFirst());
    ASSERT_TRUE(until([&] { return desktop->panel().has_value(); }));
    const auto panel = desktop->panel();
    EXPECT_EQ(panel->x, 1600 - 320 - 8) << "the desktop does not say where the item is";
    EXPECT_EQ(panel->y, 8);

    tray.vanish();
    EXPECT_TRUE(until([&] { return hasWindow(); }));
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

TEST_F(ProgramBus, a_tray_of_the_bus_that_returns_gets_the_item_again) {
    fakes::TrayOnBus tray(*connection);
    tray.appear();
    const ChildProcess program = start({"--hidden"});
    ASSERT_TRUE(until([&] { return tray.items.size() == 1; }));
    tray.vanish();
    tray.appear();
    EXPECT_TRUE(until([&] { return tray.items.size() == 2; }));
    EXPECT_FALSE(hasWindow());
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

TEST_F(ProgramBus, a_portal_that_hangs_does_not_keep_the_window_back) {
    const SilentPortal portal(*connection);
    const ChildProcess program = start();
    EXPECT_TRUE(until([&] { return hasWindow(); }));
    EXPECT_TRUE(portal.calls.contains(QStringLiteral("ReadAll")));
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

}  // namespace
}  // namespace quillbay
