// The main window in each of its states.

#include "ui/ShownMainWindow.h"
#include "ui/pictures/Pictured.h"

namespace quillbay {
namespace {

class MainWindowPictures : public Pictured<ShownMainWindow> {
 protected:
    /// Facts that are the same in each run, while the bridges go on as they were.
    void settleFacts() {
        const std::vector<DeviceProfile> all = coordinator->profiles();
        for (DeviceProfile profile : all) {
            profile.providerIP = "100.92.14.7";
            profile.remotePairingPort = 49733;
            profile.tunnelPortRangeStart = 55000;
            profile.tunnelPortRangeEnd = 58000;
            profile.serviceType = "_remotepairing._tcp";
            save(profile);
        }
    }
    void showThreeDevices(QSize size = {}) {
        threeDevices();
        settleFacts();
        mainWindow->log()->clear();
        show("MainWindow", size);
    }
    void say(const std::vector<std::string>& lines) {
        for (const std::string& line : lines)
            coordinator->logs().user(line);
        settleWindow();
    }
    /// The one device "Spare iPhone SE", selected, after its bridge was started and failed.
    void showFailure() {
        settleFacts();
        show("MainWindow");
        select(spare);
    }
    void saveSpare() {
        makeModels();
        spare = named(save("spare-se", 50114), "Spare iPhone SE");
    }
};

TEST_P(MainWindowPictures, empty) {
    show("MainWindow");
    look("main-empty");
}

TEST_P(MainWindowPictures, off) {
    showThreeDevices();
    select(spare);
    look("main-off");
}

TEST_P(MainWindowPictures, pairing) {
    saveSpare();
    settleFacts();
    pair(stored(spare));
    show("MainWindow");
    select(spare);
    look("main-pairing");
}

TEST_P(MainWindowPictures, active) {
    showThreeDevices();
    select(lena);
    say({"Bridging to \"Lena's iPhone 16 Pro\"", "Bridge is successful."});
    look("main-active");
}

TEST_P(MainWindowPictures, with_an_update) {
    offerUpdate("1.5.0");
    showThreeDevices();
    findUpdate();
    select(lena);
    look("main-update");
}

TEST_P(MainWindowPictures, update_under_the_pointer) {
    offerUpdate("1.5.0");
    showThreeDevices();
    findUpdate();
    hover(ofType("UpdateAvailableBanner"));
    const QQuickItem* banner = ofType("UpdateAvailableBanner");
    look("main-update-hover", banner->mapRectToScene(banner->boundingRect().adjusted(-12, -12, 12, 12)));
}

TEST_P(MainWindowPictures, error_device_near) {
    saveSpare();
    phonesAreNear();
    coordinator->start(spare);
    untilStatus(spare, BridgeStatus::Kind::error);
    showFailure();
    look("main-error-near");
}

TEST_P(MainWindowPictures, error_no_address) {
    saveSpare();
    fail(spare);
    showFailure();
    look("main-error-address");
}

TEST_P(MainWindowPictures, error_no_answer) {
    saveSpare();
    coordinator->start(spare);
    untilStatus(spare, BridgeStatus::Kind::error);
    showFailure();
    look("main-error-answer");
}

TEST_P(MainWindowPictures, scan) {
    saveSpare();
    settleFacts();
    show("MainWindow");
    select(spare);
    spare = stored(spare);
    spare.providerIP = world.phoneIP;
    save(spare);
    hideVersion();
    mainWindow->detail()->scan();
    // The window, not the world: no answer of a port arrives, and the scan stays where it is put.
    const auto drawn = [this] {
        QCoreApplication::processEvents();
        return window->grabWindow();
    };
    drawn();
    QQuickItem* words = text("0 of 16,384 ports");
    ASSERT_NE(words, nullptr);
    words->setProperty("text", QStringLiteral("4,212 of 16,384 ports"));
    ofType("ProgressTrack")->setProperty("fraction", 4212.0 / 16384);
    text(QString::fromStdString("Tailscale · " + world.phoneIP))
        ->setProperty("text", QStringLiteral("Tailscale · 100.92.14.7"));
    drawn();
    compare(drawn(), "main-scan");
}

TEST_P(MainWindowPictures, log_expanded) {
    showThreeDevices();
    select(qa);
    mainWindow->setLogExpanded(true);
    for (int i = 0; i < 6; ++i)
        say({"Bridging to \"QA iPhone 13 mini\"",
             "Connection error: The device's debugging port may have changed. Try Scan port."});
    look("main-log");
}

TEST_P(MainWindowPictures, long_texts) {
    makeModels();
    DeviceProfile longOne =
        named(save("spare"), "Lena's spare iPhone 16 Pro Max for the late shift in Łódź №7");
    fail(longOne);
    settleFacts();
    show("MainWindow");
    select(longOne);
    StatusPresentation status = presentationOf(BridgeStatus::error(""));
    status.text +=
        QStringLiteral("The device is still on this network, which nobody expected. ").repeated(5).left(293);
    ofType("StatusBadge")->setProperty("status", QVariant::fromValue(status));
    look("main-long");
}

TEST_P(MainWindowPictures, fifty_devices_and_two_hundred_lines) {
    makeModels();
    for (int i = 0; i < 50; ++i)
        spare = save("iphone-" + std::to_string(i));
    settleFacts();
    show("MainWindow");
    select(spare);
    mainWindow->setLogExpanded(true);
    for (int i = 0; i < 200; ++i)
        coordinator->logs().user("Line " + std::to_string(i) +
                                 std::string(static_cast<std::size_t>(i % 90), 'x'));
    settleWindow();
    look("main-many");
}

TEST_P(MainWindowPictures, keyboard_focus) {
    showThreeDevices();
    select(lena);
    control("Pair a new iPhone")->forceActiveFocus(Qt::MouseFocusReason);
    press(Qt::Key_Tab);
    const QRectF sidebar = ofType("Sidebar")->mapRectToScene(ofType("Sidebar")->boundingRect());
    look("main-focus-list", sidebar);
    control("Start Bridge")->forceActiveFocus(Qt::TabFocusReason);
    const QQuickItem* header = ofType("ProfileHeader");
    look("main-focus-switch", header->mapRectToScene(header->boundingRect().adjusted(-12, -12, 12, 12)));
}

TEST_P(MainWindowPictures, rename) {
    showThreeDevices();
    mainWindow->beginRename(idOf(spare));
    look("main-rename");
}

TEST_P(MainWindowPictures, removal) {
    showThreeDevices();
    mainWindow->askRemoval(idOf(spare));
    look("main-removal");
}

TEST_P(MainWindowPictures, actions_with_the_help_of_an_unavailable_edit) {
    showThreeDevices();
    hover(row(lena));
    click(control("Actions for Lena's iPhone 16 Pro"));
    hover(control("Edit"));
    ASSERT_TRUE(until([&] { return text("Stop the bridge before editing this device.") != nullptr; }));
    look("main-actions");
}

TEST_P(MainWindowPictures, smallest_with_a_notice) {
    showThreeDevices({760, 520});
    notices->add(
        "Quillbay can't write to its folder /home/lena/.local/share/Quillbay. Changes will be lost.");
    select(qa);
    look("main-smallest");
}

INSTANTIATE_TEST_SUITE_P(Appearances, MainWindowPictures, ::testing::Bool(), appearanceName);

}  // namespace
}  // namespace quillbay
