// The real program on a computer that lacks something: it works, and what does not work stands in its window.

#include <signal.h>
#include <sys/stat.h>

#include <QString>
#include <QStringList>
#include <optional>

#include "ui/shell/ProgramFixture.h"
#include "ui/shell/ScreenReader.h"

namespace quillbay {
namespace {

class ProgramTrouble : public ProgramFixture {
 protected:
    ProgramTrouble() {
        for (const auto& [name, value] : reader_.environment())
            environment[name] = value;
    }

    [[nodiscard]] ChildProcess startUnserved() const {
        ChildProcess program = start();
        EXPECT_TRUE(until([this] { return desktop->mainWindow().has_value(); }));
        return program;
    }
    [[nodiscard]] bool shows(const ChildProcess& program, const QString& words) const {
        const bool found = until([&] { return reader_.names(program.pid()).contains(words); });
        if (!found) ADD_FAILURE() << "shown: " << reader_.names(program.pid()).join(u'|').toStdString();
        return found;
    }
    [[nodiscard]] QStringList warnings(const ChildProcess& program) const {
        EXPECT_TRUE(
            shows(program,
                  QStringLiteral("No device added yet. Add an iPhone to bridge it over your mesh network.")));
        return reader_.names(program.pid()).filter(QStringLiteral("Close: "));
    }
    [[nodiscard]] QString path(const char* below) const {
        return QString::fromStdString((home() / below).string());
    }
    static void end(const ChildProcess& program) {
        program.terminate();
        EXPECT_EQ(statusOf(program), 0);
    }

 private:
    fakes::TemporaryFolder readersFolder_;
    fakes::ScreenReader reader_{readersFolder_.path()};
};

TEST_F(ProgramTrouble, where_nothing_is_wrong_nothing_is_said) {
    const ChildProcess program = startWithWindow();
    EXPECT_EQ(warnings(program), QStringList());
    end(program);
}

TEST_F(ProgramTrouble, says_that_the_socket_cannot_be_made) {
    std::filesystem::create_directory(home() / "quillbay");
    ASSERT_EQ(::chmod((home() / "quillbay").c_str(), 0755), 0);
    const ChildProcess program = startUnserved();
    const QStringList said = warnings(program);
    ASSERT_EQ(said.size(), 1);
    EXPECT_TRUE(said.front().startsWith(
        QStringLiteral("Close: Quillbay can't be reached from a terminal, nor see whether it runs twice: ")))
        << said.front().toStdString();
    EXPECT_FALSE(isServed());
    end(program);
}

TEST_F(ProgramTrouble, says_that_nothing_can_be_written) {
    write("file", "in the way of folders");
    environment["XDG_DATA_HOME"] = (home() / "file/data").string();
    environment["XDG_CONFIG_HOME"] = (home() / "file/config").string();
    const ChildProcess program = startWithWindow();
    EXPECT_EQ(
        warnings(program),
        QStringList({QStringLiteral("Close: Devices and logs won't be kept after Quillbay quits: ") +
                         path("file/data/Quillbay") + QStringLiteral(" can't be written (Not a directory)."),
                     QStringLiteral("Close: Settings won't be kept after Quillbay quits: ") +
                         path("file/config/Quillbay") +
                         QStringLiteral(" can't be written (Not a directory).")}));
    desktop->press("ctrl+comma");
    EXPECT_TRUE(until([&] { return desktop->settings().has_value(); }));
    end(program);
}

TEST_F(ProgramTrouble, says_that_the_settings_cannot_be_read_and_leaves_them_alone) {
    write("config/Quillbay/settings.json", "{ \"window.main.geometry\": ");
    const ChildProcess program = startWithWindow();
    const QStringList said = warnings(program);
    ASSERT_EQ(said.size(), 1);
    EXPECT_TRUE(said.front().startsWith(
        QStringLiteral("Close: Settings won't be kept after Quillbay quits: the settings in ") +
        path("config/Quillbay/settings.json") + QStringLiteral(" cannot be read and are left as they are: ")))
        << said.front().toStdString();
    end(program);
    EXPECT_EQ(read("config/Quillbay/settings.json"), "{ \"window.main.geometry\": ");
}

TEST_F(ProgramTrouble, without_avahi_it_goes_on_looking_for_phones) {
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nonexistent";
    const ChildProcess program = startWithWindow();
    EXPECT_EQ(ctl({"phones"}).standardOutput, "There is no phone on the local network.\n");
    ASSERT_TRUE(until([&] { return desktop->active() == desktop->mainWindow()->id; }));
    desktop->press("ctrl+n");
    EXPECT_TRUE(shows(program, QStringLiteral("Scanning… Make sure the iPhone is connected via USB or on "
                                              "the same Wi-Fi network.")));
    end(program);
}

class ProgramAlone : public ProgramFixture {};

TEST_F(ProgramAlone, without_a_session_bus_tray_panel_and_windows_work) {
    for (const std::optional<std::string>& bus :
         {std::optional<std::string>("unix:path=/nonexistent"), std::optional<std::string>()}) {
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus;
        const ChildProcess program = startInTray();
        desktop->clickTrayItem();
        EXPECT_TRUE(until([&] { return desktop->panel().has_value(); }));
        ASSERT_EQ(runProgram().status.code, 0);
        ASSERT_TRUE(
            until([&] { return desktop->mainWindow() && desktop->active() == desktop->mainWindow()->id; }));
        desktop->press("ctrl+comma");
        EXPECT_TRUE(until([&] { return desktop->settings().has_value(); }));
        program.terminate();
        EXPECT_EQ(statusOf(program), 0);
        desktop->stopTray();
    }
}

TEST_F(ProgramAlone, outlives_the_screen_it_is_on) {
    const ChildProcess program = startWithWindow();
    ASSERT_TRUE(until([&] { return desktop->active() == desktop->mainWindow()->id; }));
    static_cast<void>(run("/usr/bin/xrandr", {"--output", "screen", "--off"}));
    EXPECT_THAT(run("/usr/bin/xrandr").standardOutput, ::testing::HasSubstr("screen connected\n"));
    desktop->press("ctrl+comma");
    EXPECT_TRUE(until([&] { return desktop->settings().has_value(); }));
    EXPECT_TRUE(isServed());
    EXPECT_EQ(run("/usr/bin/xrandr", {"--output", "screen", "--auto"}).status.code, 0);
    EXPECT_EQ(runProgram().status.code, 0);
    EXPECT_TRUE(until([&] { return desktop->active() == desktop->mainWindow()->id; }));
    program.terminate();
    EXPECT_EQ(statusOf(program), 0);
}

}  // namespace
}  // namespace quillbay
