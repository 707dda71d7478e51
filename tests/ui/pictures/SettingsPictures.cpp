// The settings.

#include "ui/SettingsWindowFixture.h"
#include "ui/pictures/Pictured.h"

namespace quillbay {
namespace {

class SettingsPictures : public Pictured<SettingsWindowTest> {
 protected:
    void saveThree() {
        save("Lena's iPhone 16 Pro");
        save("QA iPhone 13 mini");
        save("Spare iPhone SE");
    }
    /// The folder of a test has another name each time.
    void showPath(const QString& path) {
        QQuickItem* field = ofType("InputField", card("Tailscale CLI path"));
        ASSERT_NE(field, nullptr);
        field->setProperty("text", path);
        field->setProperty("cursorPosition", 0);
    }
};

TEST_P(SettingsPictures, as_they_open) {
    saveThree();
    open();
    look("settings");
}

TEST_P(SettingsPictures, without_devices) {
    open();
    const QQuickItem* devices = card("Device profiles");
    look("settings-no-devices", devices->mapRectToScene(devices->boundingRect().adjusted(-8, -8, 8, 8)));
}

TEST_P(SettingsPictures, with_results) {
    offerUpdate("1.5.0");
    saveThree();
    installPeers(3);
    launchAtLogin.enabled = true;
    findUpdate();
    open(QSize(560, 940));
    settingsModel->providers().at(0)->testDeviceList();
    ASSERT_TRUE(until([this] { return !settingsModel->providers().at(0)->testing(); }));
    showPath("/usr/local/bin/tailscale");
    look("settings-results");
}

TEST_P(SettingsPictures, with_errors) {
    launchAtLogin.failure = "The folder for programs that start at login can't be written.";
    use("tailscale", client("tailscale", "echo 'the daemon is not running' >&2; exit 1"));
    open();
    settingsModel->setLaunchAtLogin(true);
    settingsModel->providers().at(0)->testDeviceList();
    ASSERT_TRUE(until([this] { return !settingsModel->providers().at(0)->testing(); }));
    showPath("/usr/local/bin/tailscale");
    look("settings-errors");
}

TEST_P(SettingsPictures, removal) {
    saveThree();
    open();
    settingsModel->askRemoval(QString::fromStdString(coordinator->profiles()[0].id()));
    look("settings-removal");
}

INSTANTIATE_TEST_SUITE_P(Appearances, SettingsPictures, ::testing::Bool(), appearanceName);

}  // namespace
}  // namespace quillbay
