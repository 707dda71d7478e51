// The trays of the bus. Those of X11 are looked at with the program itself.

#include "ui/shell/linux/LinuxTrayWatch.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <memory>

#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/WaitUntil.h"
#include "ui/shell/TrayOnBus.h"

namespace quillbay {
namespace {

class LinuxTrayWatchTest : public ::testing::Test {
 protected:
    ~LinuxTrayWatchTest() override {
        watch.reset();
        for (const char* name : {"desktop", "program"})
            QDBusConnection::disconnectFromBus(QString::fromLatin1(name));
    }

    void make() {
        watch = std::make_unique<LinuxTrayWatch>(connect("program"));
        QObject::connect(watch.get(), &TrayWatch::changed, [this] { ++changes; });
    }
    [[nodiscard]] QDBusConnection connect(const char* name) const {
        return QDBusConnection::connectToBus(QString::fromStdString(bus.address()),
                                             QString::fromLatin1(name));
    }
    bool until(bool available) {
        return fakes::waitUntil([&] {
            QCoreApplication::processEvents();
            return watch->isAvailable() == available;
        });
    }

    fakes::TemporaryFolder folder;
    fakes::PrivateBus bus{folder.path()};
    fakes::TrayOnBus tray{connect("desktop")};
    std::unique_ptr<LinuxTrayWatch> watch;
    int changes = 0;
};

TEST_F(LinuxTrayWatchTest, sees_a_tray_that_is_there_already) {
    tray.appear();
    make();
    EXPECT_TRUE(until(true));
    EXPECT_EQ(changes, 1);
}

TEST_F(LinuxTrayWatchTest, sees_a_tray_come_and_go_and_return) {
    make();
    EXPECT_FALSE(watch->isAvailable());
    tray.appear();
    EXPECT_TRUE(until(true));
    tray.vanish();
    EXPECT_TRUE(until(false));
    tray.appear();
    EXPECT_TRUE(until(true));
    EXPECT_EQ(changes, 3);
}

TEST_F(LinuxTrayWatchTest, a_registrar_that_has_no_tray_yet_is_none) {
    tray.hasHost = false;
    tray.appear();
    make();
    EXPECT_TRUE(fakes::waitUntil([&] {
        QCoreApplication::processEvents();
        return tray.asked > 0;
    }));
    EXPECT_TRUE(until(false));
    tray.setHost(true);
    EXPECT_TRUE(until(true));
    tray.setHost(false);
    EXPECT_TRUE(until(false));
}

TEST_F(LinuxTrayWatchTest, without_a_bus_there_is_none) {
    const LinuxTrayWatch alone(
        QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent"), QStringLiteral("none")));
    EXPECT_FALSE(alone.isAvailable());
    QDBusConnection::disconnectFromBus(QStringLiteral("none"));
}

}  // namespace
}  // namespace quillbay
