// The look by a settings portal on a real bus. The portal is this test's own, on a connection of its own.

#include "ui/shell/linux/PortalLook.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QGuiApplication>
#include <QMap>
#include <QPalette>
#include <chrono>
#include <optional>

#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using Settings = QMap<QString, QVariantMap>;

/// Answers as the test says, or not at all.
class FakePortal : public QDBusVirtualObject {
 public:
    explicit FakePortal(const QString& address)
        : bus_(QDBusConnection::connectToBus(address, QStringLiteral("portal"))) {
        bus_.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                   QDBusConnection::SingleNode);
    }
    ~FakePortal() override { QDBusConnection::disconnectFromBus(QStringLiteral("portal")); }

    void appear() { ASSERT_TRUE(bus_.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))); }

    void change(const char* group, const char* key, const QVariant& value) {
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal << QString::fromLatin1(group) << QString::fromLatin1(key)
               << QVariant::fromValue(QDBusVariant(value));
        ASSERT_TRUE(bus_.send(signal));
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != QLatin1String("ReadAll")) return false;
        ++asked;
        asking = message.arguments().constFirst().toStringList();
        message.setDelayedReply(true);
        if (!silent) connection.send(message.createReply(QVariant::fromValue(settings)));
        return true;
    }

    Settings settings;
    bool silent = false;
    int asked = 0;
    QStringList asking;

 private:
    QDBusConnection bus_;
};

class PortalLookTest : public ::testing::Test {
 protected:
    PortalLookTest() { qDBusRegisterMetaType<Settings>(); }
    ~PortalLookTest() override {
        look.reset();
        portal.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("look"));
    }

    void make() {
        look = std::make_unique<PortalLook>(QDBusConnection::connectToBus(address(), QStringLiteral("look")));
        QObject::connect(look.get(), &DesktopLook::changed, [this] { ++changes; });
    }
    [[nodiscard]] QString address() const { return QString::fromStdString(bus.address()); }
    static bool until(const std::function<bool()>& done) {
        return fakes::waitUntil([&done] {
            QCoreApplication::processEvents();
            return done();
        });
    }

    fakes::TemporaryFolder folder;
    fakes::PrivateBus bus{folder.path()};
    std::unique_ptr<FakePortal> portal = std::make_unique<FakePortal>(address());
    std::unique_ptr<PortalLook> look;
    int changes = 0;
};

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString scheme = QStringLiteral("color-scheme");
const QString animations = QStringLiteral("enable-animations");

TEST_F(PortalLookTest, is_read_at_the_start) {
    portal->settings = {{appearance, {{scheme, 1U}}}, {gnome, {{animations, false}}}};
    portal->appear();
    make();
    EXPECT_FALSE(look->isKnown()) << "it does not wait";
    EXPECT_TRUE(until([&] { return look->isKnown(); }));
    EXPECT_TRUE(look->dark());
    EXPECT_TRUE(look->reducedMotion());
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(portal->asking, (QStringList{appearance, gnome}));
}

TEST_F(PortalLookTest, is_followed_live) {
    portal->settings = {{appearance, {{scheme, 2U}}}, {gnome, {{animations, true}}}};
    portal->appear();
    make();
    ASSERT_TRUE(until([&] { return look->isKnown(); }));
    EXPECT_FALSE(look->dark());
    EXPECT_FALSE(look->reducedMotion());
    portal->change("org.freedesktop.appearance", "color-scheme", 1U);
    EXPECT_TRUE(until([&] { return look->dark(); }));
    portal->change("org.gnome.desktop.interface", "enable-animations", false);
    EXPECT_TRUE(until([&] { return look->reducedMotion(); }));
    portal->change("org.freedesktop.appearance", "accent-color", 7U);
    portal->change("org.freedesktop.appearance", "color-scheme", 2U);
    EXPECT_TRUE(until([&] { return !look->dark(); }));
    EXPECT_EQ(changes, 4) << "the news of others are none";
}

TEST_F(PortalLookTest, takes_a_value_that_is_wrapped_twice) {
    portal->settings = {{appearance, {{scheme, QVariant::fromValue(QDBusVariant(1U))}}}};
    portal->appear();
    make();
    EXPECT_TRUE(until([&] { return look->dark(); }));
}

TEST_F(PortalLookTest, without_a_preference_is_as_the_palette) {
    const QPalette before = QGuiApplication::palette();
    portal->settings = {{appearance, {{scheme, 0U}}}};
    portal->appear();
    make();
    ASSERT_TRUE(until([&] { return look->isKnown(); }));
    EXPECT_FALSE(look->dark());
    QPalette night;
    night.setColor(QPalette::Window, Qt::black);
    night.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(night);
    EXPECT_TRUE(until([&] { return look->dark(); }));
    QGuiApplication::setPalette(before);
    EXPECT_TRUE(until([&] { return !look->dark(); }));
}

TEST_F(PortalLookTest, that_is_not_there_is_known_to_be_as_the_palette) {
    make();
    EXPECT_TRUE(until([&] { return look->isKnown(); }));
    EXPECT_FALSE(look->dark());
    EXPECT_FALSE(look->reducedMotion());
}

TEST_F(PortalLookTest, of_a_portal_that_comes_later_is_taken) {
    make();
    ASSERT_TRUE(until([&] { return look->isKnown(); }));
    portal->settings = {{appearance, {{scheme, 1U}}}};
    portal->appear();
    EXPECT_TRUE(until([&] { return look->dark(); }));
}

TEST_F(PortalLookTest, of_a_portal_that_hangs_holds_nothing_up) {
    portal->silent = true;
    portal->appear();
    const auto begin = std::chrono::steady_clock::now();
    make();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
    ASSERT_TRUE(until([&] { return portal->asked == 1; }));
    EXPECT_FALSE(look->isKnown());
    EXPECT_FALSE(look->dark());
    portal->change("org.freedesktop.appearance", "color-scheme", 1U);
    EXPECT_TRUE(until([&] { return look->dark(); }));
}

TEST_F(PortalLookTest, without_a_bus_is_known_at_once) {
    PortalLook alone(
        QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent"), QStringLiteral("none")));
    EXPECT_TRUE(alone.isKnown());
    EXPECT_FALSE(alone.dark());
    QDBusConnection::disconnectFromBus(QStringLiteral("none"));
}

}  // namespace
}  // namespace quillbay
