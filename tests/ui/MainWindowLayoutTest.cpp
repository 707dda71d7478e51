#include <QTest>
#include <tuple>

#include "ui/ShownMainWindow.h"
#include "ui/models/Status.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;

/// In each of these sizes, nothing is cut off and nothing overlaps.
class MainWindowLayout : public ShownMainWindow, public ::testing::WithParamInterface<QSize> {
 protected:
    /// The whole detail area, from the top to the bottom of what it scrolls.
    void expectNoFaultsAnywhere() {
        EXPECT_THAT(layoutFaults(), IsEmpty());
        QQuickItem* const detail = ofType("ProfileDetailView");
        if (detail == nullptr) return;
        const double bottom = detail->property("contentHeight").toDouble() - detail->height();
        detail->setProperty("contentY", std::max(0.0, bottom));
        settleWindow();
        EXPECT_THAT(layoutFaults(), IsEmpty());
        const QRectF zone = visibleRect(ofType("DangerZone"));
        EXPECT_EQ(zone.height(), 52) << "what is lowest can be scrolled to";
    }

    const std::string sixtyCharacters = "Lena's spare iPhone 16 Pro Max for the late shift in Łódź №7";
    const QString threeHundredCharacters =
        QStringLiteral("Error: ") +
        QStringLiteral("The device is still on this network, which nobody expected of it. ")
            .repeated(5)
            .left(293);
};

TEST_P(MainWindowLayout, empty) {
    show("MainWindow", GetParam());
    EXPECT_THAT(layoutFaults(), IsEmpty());
}

TEST_P(MainWindowLayout, with_everything_at_once) {
    offerUpdate("1.5.0");
    threeDevices();
    show("MainWindow", GetParam());
    findUpdate();
    notices->add(
        "Quillbay can't write to /home/lena/.local/share/Quillbay, so what you change now is lost at its "
        "end.");
    select(qa);
    mainWindow->detail()->scan();
    settleWindow();
    expectNoFaultsAnywhere();
}

TEST_P(MainWindowLayout, with_long_names) {
    makeModels();
    DeviceProfile longOne = save("spare");
    longOne.displayName = sixtyCharacters;
    longOne.bonjourName = sixtyCharacters;
    longOne.providerHostName = sixtyCharacters;
    longOne.serviceType = sixtyCharacters;
    save(longOne);
    fail(longOne);
    show("MainWindow", GetParam());
    select(longOne);
    expectNoFaultsAnywhere();
    mainWindow->askRemovalOfSelected();
    settleWindow();
    EXPECT_THAT(layoutFaults(ofType("QQuickPopupItem")), IsEmpty());
}

TEST_P(MainWindowLayout, with_an_error_of_300_characters) {
    threeDevices();
    show("MainWindow", GetParam());
    select(qa);
    QQuickItem* const badge = ofType("StatusBadge");
    const double oneLine = ofType("ProfileHeader")->height();
    ASSERT_EQ(threeHundredCharacters.size(), 300);
    StatusPresentation status = presentationOf(BridgeStatus::error("x"));
    status.text = threeHundredCharacters;
    badge->setProperty("status", QVariant::fromValue(status));
    settleWindow();
    EXPECT_LE(badge->width(), 500);
    EXPECT_GT(badge->height(), 3 * 13);
    EXPECT_GT(ofType("ProfileHeader")->height(), oneLine);
    expectNoFaultsAnywhere();
}

TEST_P(MainWindowLayout, with_fifty_devices_and_two_hundred_lines) {
    makeModels();
    for (int i = 0; i < 50; ++i)
        spare = save("iphone-" + std::to_string(i));
    show("MainWindow", GetParam());
    select(spare);
    for (int i = 0; i < 200; ++i)
        coordinator->logs().user(
            "Connection error: The device's debugging port may have changed. Try Scan port. " +
            std::string(static_cast<std::size_t>(i % 90), 'x'));
    settleWindow();
    expectNoFaultsAnywhere();
    mainWindow->setLogExpanded(true);
    settleWindow();
    EXPECT_GE(ofType("LogConsole")->height(), 184);
    expectNoFaultsAnywhere();
}

TEST_P(MainWindowLayout, with_the_widest_and_the_narrowest_sidebar) {
    threeDevices();
    show("MainWindow", GetParam());
    select(qa);
    for (const double width : {340.0, 208.0}) {
        mainWindow->setSidebarWidth(width);
        mainWindow->detail()->scan();
        settleWindow();
        expectNoFaultsAnywhere();
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, MainWindowLayout,
                         ::testing::Values(QSize(1024, 700), QSize(760, 520), QSize(1900, 1000)),
                         [](const auto& run) {
                             return std::to_string(run.param.width()) + "x" +
                                    std::to_string(run.param.height());
                         });

}  // namespace
}  // namespace quillbay
