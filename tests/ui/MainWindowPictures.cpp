// What the main window looks like in each state, for a person to look at: with QUILLBAY_GRABS=FOLDER each
// test leaves its picture there.

#include "ui/ShownMainWindow.h"

namespace quillbay {
namespace {

/// In both appearances.
class MainWindowLook : public ShownMainWindow, public ::testing::WithParamInterface<bool> {
 protected:
    void look(const QString& name) {
        setDark(GetParam());
        grab(name + (GetParam() ? QStringLiteral("-dark") : QStringLiteral("-light")));
        EXPECT_EQ(layoutFaults(), QStringList());
    }
};

TEST_P(MainWindowLook, empty) {
    show("MainWindow");
    look("01-empty");
}

TEST_P(MainWindowLook, active_with_an_update) {
    offerUpdate("1.5.0");
    threeDevices();
    findUpdate();
    show("MainWindow");
    mainWindow->setSelection(QString::fromStdString(lena.id()));
    coordinator->logs().user("Bridge is successful.");
    look("02-active");
}

TEST_P(MainWindowLook, scanning) {
    makeModels();
    spare = named(save("spare-se", 50114), "Spare iPhone SE");
    show("MainWindow");
    select(spare);
    mainWindow->detail()->scan();
    look("02-scanning");
}

TEST_P(MainWindowLook, keyboard_focus) {
    threeDevices();
    show("MainWindow");
    select(lena);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    look("08-list-focus");
    control("Start Bridge")->forceActiveFocus(Qt::TabFocusReason);
    look("08-switch-focus");
    control("Expand")->forceActiveFocus(Qt::TabFocusReason);
    look("08-expand-focus");
}

TEST_P(MainWindowLook, banner_focus_and_hovered_row) {
    offerUpdate("1.5.0");
    threeDevices();
    show("MainWindow");
    findUpdate();
    control("Quillbay 1.5.0 is available")->forceActiveFocus(Qt::TabFocusReason);
    hover(row(spare));
    look("08-banner-focus");
}

TEST_P(MainWindowLook, error_with_the_log_expanded) {
    threeDevices();
    show("MainWindow");
    mainWindow->setSelection(QString::fromStdString(qa.id()));
    mainWindow->setLogExpanded(true);
    for (int i = 0; i < 12; ++i)
        coordinator->logs().user("Bridging to \"QA iPhone 13 mini\"");
    look("03-error");
}

TEST_P(MainWindowLook, rename_sheet) {
    threeDevices();
    show("MainWindow");
    mainWindow->beginRename(QString::fromStdString(spare.id()));
    look("08-rename");
}

TEST_P(MainWindowLook, removal_dialog) {
    threeDevices();
    show("MainWindow");
    mainWindow->askRemoval(QString::fromStdString(spare.id()));
    look("08-removal");
}

TEST_P(MainWindowLook, row_actions) {
    threeDevices();
    show("MainWindow");
    mainWindow->setSelection(QString::fromStdString(lena.id()));
    settleWindow();
    click(row(lena), Qt::RightButton);
    look("08-actions");
}

TEST_P(MainWindowLook, long_texts) {
    makeModels();
    const DeviceProfile longOne =
        named(save("spare"), "Lena's spare iPhone 16 Pro Max for the late shift in Łódź №7");
    fail(longOne);
    show("MainWindow");
    select(longOne);
    StatusPresentation status = presentationOf(BridgeStatus::error(""));
    status.text +=
        QStringLiteral("The device is still on this network, which nobody expected. ").repeated(5).left(293);
    ofType("StatusBadge")->setProperty("status", QVariant::fromValue(status));
    look("09-long");
}

TEST_P(MainWindowLook, help_of_an_unavailable_edit) {
    threeDevices();
    show("MainWindow");
    hover(row(lena));
    click(control("Actions for Lena's iPhone 16 Pro"));
    hover(control("Edit"));
    ASSERT_TRUE(until([&] { return text("Stop the bridge before editing this device.") != nullptr; }));
    look("08-help");
}

TEST_P(MainWindowLook, smallest_with_notices) {
    threeDevices();
    show("MainWindow", {760, 520});
    notices->add(
        "Quillbay can't write to its folder /home/lena/.local/share/Quillbay. Changes will be lost.");
    mainWindow->setSelection(QString::fromStdString(qa.id()));
    look("09-smallest");
}

INSTANTIATE_TEST_SUITE_P(Appearances, MainWindowLook, ::testing::Bool(),
                         [](const auto& run) { return run.param ? "dark" : "light"; });

}  // namespace
}  // namespace quillbay
