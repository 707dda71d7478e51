#include "ui/AddDeviceSheetFixture.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(AddDeviceSheetTest, says_what_each_step_is_for_before_anything_is_found) {
    open();
    EXPECT_EQ(
        texts(sheetItem()),
        QStringList(
            {QStringLiteral("Add Device"),
             QStringLiteral("Find an iPhone on your local network and pair it with its network peer."),
             QStringLiteral("1 · iPhones found on the local network"), QString::fromUtf8(scanning),
             QStringLiteral("2 · Network connector"), QStringLiteral("Refresh"), QStringLiteral("Manual IP"),
             QString::fromUtf8(noClient), QStringLiteral("3 · Display name"),
             QStringLiteral("e.g. Mirel's iPhone"), QStringLiteral("Cancel"), QStringLiteral("Save")}));
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
    EXPECT_TRUE(canPress(QStringLiteral("Cancel")));
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    grab(QStringLiteral("add-nothing-light"));
    setDark(true);
    grab(QStringLiteral("add-nothing-dark"));
}

TEST_F(AddDeviceSheetTest, is_as_wide_as_it_should_be_in_the_middle_of_the_window) {
    open();
    EXPECT_EQ(sheetRect().width(), 560);
    EXPECT_NEAR(sheetRect().center().x(), 512, 1);
    EXPECT_NEAR(sheetRect().center().y(), 350, 1);
}

TEST_F(AddDeviceSheetTest, lists_the_phones_in_place_of_the_scanning_line_as_soon_as_one_is_found) {
    open();
    ASSERT_NE(text(QString::fromUtf8(scanning)), nullptr);
    seeTwoPhones();
    settleWindow();
    EXPECT_EQ(text(QString::fromUtf8(scanning)), nullptr);
    EXPECT_NE(text(QStringLiteral("Lena's iPhone 16 Pro")), nullptr);
    EXPECT_NE(text(QStringLiteral("Lenas-iPhone.local:49733")), nullptr);
    EXPECT_NE(text(QStringLiteral("QA iPhone 13 mini")), nullptr);
    EXPECT_NE(text(QStringLiteral("QA-iPhone-13-mini.local:51020")), nullptr);
    EXPECT_EQ(text(QStringLiteral("Discovered earlier")), nullptr);
    EXPECT_THAT(allOfType(QStringLiteral("Spinner")), IsEmpty());
}

TEST_F(AddDeviceSheetTest, a_click_chooses_a_phone_and_another_click_another_one) {
    seeTwoPhones();
    open();
    click(row(QStringLiteral("Lena's iPhone 16 Pro")));
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Lenas-iPhone.local"));
    EXPECT_TRUE(state(row(QStringLiteral("Lena's iPhone 16 Pro"))).selected);
    EXPECT_FALSE(state(row(QStringLiteral("QA iPhone 13 mini"))).selected);
    click(row(QStringLiteral("QA iPhone 13 mini")));
    EXPECT_EQ(model().selectedRow(), QStringLiteral("QA-iPhone-13-mini.local"));
    EXPECT_FALSE(state(row(QStringLiteral("Lena's iPhone 16 Pro"))).selected);
}

TEST_F(AddDeviceSheetTest, offers_the_installed_clients_in_order_and_the_typed_address_last) {
    installAll();
    open();
    QStringList labels;
    for (const QQuickItem* item : allOfType(QStringLiteral("ProviderTileButton")))
        labels.append(item->property("text").toString());
    EXPECT_EQ(labels, QStringList({QStringLiteral("Tailscale"), QStringLiteral("ZeroTier"),
                                   QStringLiteral("Netbird"), QStringLiteral("Manual IP")}));
    EXPECT_EQ(text(QString::fromUtf8(noClient)), nullptr);
    EXPECT_EQ(ofType(QStringLiteral("Picker")), nullptr);
}

TEST_F(AddDeviceSheetTest, tiles_are_radio_buttons_and_a_click_chooses) {
    installAll();
    open();
    QQuickItem* manual = tile(QStringLiteral("Manual IP"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(manual)->role(), QAccessible::RadioButton);
    EXPECT_FALSE(state(manual).checked);
    click(manual);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("manual"));
    EXPECT_TRUE(state(tile(QStringLiteral("Manual IP"))).checked);
    click(tile(QStringLiteral("Tailscale")));
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("tailscale"));
    EXPECT_FALSE(state(tile(QStringLiteral("Manual IP"))).checked);
    EXPECT_TRUE(state(tile(QStringLiteral("Tailscale"))).checked);
}

TEST_F(AddDeviceSheetTest, the_chosen_tile_alone_has_an_outline_in_the_accent_colour) {
    installAll();
    open();
    click(tile(QStringLiteral("Tailscale")));
    const auto outline = [this](const QString& label) {
        const auto* ground = tile(label)->property("background").value<QQuickItem*>();
        QObject* border = ground->property("border").value<QObject*>();
        return std::pair(border->property("color").value<QColor>(), border->property("width").toDouble());
    };
    EXPECT_EQ(outline(QStringLiteral("Tailscale")), std::pair(QColor(0x00, 0x58, 0xC4), 1.5));
    EXPECT_EQ(outline(QStringLiteral("Manual IP")).first.alpha(), 0);
}

TEST_F(AddDeviceSheetTest, a_typed_address_is_asked_for_by_the_name_of_the_connector) {
    installAll();
    open();
    click(tile(QStringLiteral("Manual IP")));
    EXPECT_NE(text(QStringLiteral("Manual IP IP address")), nullptr);
    EXPECT_EQ(ofType(QStringLiteral("Picker")), nullptr);
    click(tile(QStringLiteral("ZeroTier")));
    EXPECT_NE(text(QStringLiteral("ZeroTier IP address")), nullptr);
    click(field(QStringLiteral("ZeroTier IP address")));
    type(QStringLiteral("10.147.17.4"));
    EXPECT_EQ(model().manualIP(), QStringLiteral("10.147.17.4"));
    EXPECT_EQ(text(QStringLiteral("ZeroTier IP address")), nullptr) << "the prompt stays over the text";
}

TEST_F(AddDeviceSheetTest, peers_are_chosen_in_a_picker_that_begins_with_none) {
    installAll();
    open();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    QQuickItem* picker = control(QStringLiteral("Which device is this iPhone?"));
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->property("displayText").toString(), QStringLiteral("Select"));
    click(picker);
    EXPECT_NE(text(QStringLiteral("lena-iphone (online)")), nullptr);
    EXPECT_NE(text(QStringLiteral("qa-mini (offline)")), nullptr);
    click(text(QStringLiteral("qa-mini (offline)")));
    EXPECT_EQ(model().selectedPeer(), QStringLiteral("qa-mini"));
    EXPECT_EQ(picker->property("displayText").toString(), QStringLiteral("qa-mini (offline)"));
    picker->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Up);
    EXPECT_EQ(model().selectedPeer(), QStringLiteral("lena-iphone"));
    press(Qt::Key_Up);
    EXPECT_EQ(model().selectedPeer(), QString());
}

TEST_F(AddDeviceSheetTest, choosing_another_tile_takes_the_chosen_peer_away) {
    installAll();
    open();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    model().setSelectedPeer(QStringLiteral("lena-iphone"));
    settleWindow();
    click(tile(QStringLiteral("Netbird")));
    untilQuietSheet();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    EXPECT_EQ(control(QStringLiteral("Which device is this iPhone?"))->property("displayText").toString(),
              QStringLiteral("Select"));
}

TEST_F(AddDeviceSheetTest, five_thousand_peers_do_not_make_the_picker_slow) {
    std::string peers;
    for (int i = 0; i < 5000; ++i)
        peers += (i == 0 ? "\"" : ",\"") + std::to_string(i) + R"(": {"HostName": "peer-)" +
                 std::to_string(i) + R"(", "TailscaleIPs": ["100.64.0.7"], "Online": true})";
    installPrinting("tailscale", R"({"Peer": {)" + peers + "}}");
    open();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    ASSERT_EQ(model().peers()->count(), 5001);
    click(control(QStringLiteral("Which device is this iPhone?")));
    const std::vector<QQuickItem*> shown = allOfType(QStringLiteral("PickerItem"));
    EXPECT_GT(shown.size(), 3U);
    EXPECT_LT(shown.size(), 60U) << "entries are made that nobody sees";
}

TEST_F(AddDeviceSheetTest, a_click_on_save_saves_the_chosen_peer) {
    installAll();
    seeTwoPhones();
    open();
    click(row(QStringLiteral("Lena's iPhone 16 Pro")));
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    click(control(QStringLiteral("Which device is this iPhone?")));
    click(text(QStringLiteral("lena-iphone (online)")));
    click(field(QStringLiteral("Display name")));
    grab(QStringLiteral("add-filled-light"));
    setDark(true);
    grab(QStringLiteral("add-filled-dark"));
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    click(saveButton());
    ASSERT_THAT(coordinator->profiles(), SizeIs(1));
    EXPECT_EQ(coordinator->profiles()[0].providerHostName, "lena-iphone");
    EXPECT_EQ(coordinator->profiles()[0].providerIP, "100.92.14.7");
}

TEST_F(AddDeviceSheetTest, editing_begins_with_what_the_device_has) {
    installAll();
    DeviceProfile stored = profile("Lena", 49733);
    stored.displayName = "Lena's iPhone";
    stored.providerHostName = "lena-iphone";
    save(stored);
    openToEdit(stored);
    EXPECT_NE(text(QStringLiteral("Edit Device")), nullptr);
    EXPECT_NE(text(QStringLiteral("Update this device's name or re-pair it with a different network peer.")),
              nullptr);
    EXPECT_NE(text(QStringLiteral("Lena.local:49733"), sheetItem()), nullptr);
    EXPECT_NE(text(QStringLiteral("Discovered earlier")), nullptr);
    EXPECT_TRUE(state(ofType(QStringLiteral("DiscoveryRowItem"))).selected);
    EXPECT_TRUE(state(tile(QStringLiteral("Tailscale"))).checked);
    EXPECT_EQ(control(QStringLiteral("Which device is this iPhone?"))->property("displayText").toString(),
              QStringLiteral("lena-iphone (online)"));
    EXPECT_EQ(field(QStringLiteral("Display name"))->property("text").toString(),
              QStringLiteral("Lena's iPhone"));
    EXPECT_TRUE(canPress(QStringLiteral("Save")));
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    grab(QStringLiteral("add-edit-light"));
    model().setDisplayName(QStringLiteral("  "));
    settleWindow();
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
}

TEST_F(AddDeviceSheetTest, warns_above_the_buttons_of_the_device_that_saving_replaces) {
    DeviceProfile stored = profile("Lenas-iPhone", 49733);
    stored.displayName = "Work phone";
    stored.providerID = "manual";
    save(stored);
    seeTwoPhones();
    open();
    click(row(QStringLiteral("Lena's iPhone 16 Pro")));
    click(tile(QStringLiteral("Manual IP")));
    click(field(QStringLiteral("Manual IP IP address")));
    const QString warning = QStringLiteral(
        "Saving replaces \"Work phone\", which stands for the same iPhone and network connector.");
    EXPECT_EQ(text(warning), nullptr);
    type(QStringLiteral("100.64.0.9"));
    const QQuickItem* shown = text(warning);
    ASSERT_NE(shown, nullptr);
    EXPECT_LT(shown->mapToScene({}).y(), saveButton()->mapToScene({}).y());
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    grab(QStringLiteral("add-replaces-light"));
    click(row(QStringLiteral("QA iPhone 13 mini")));
    EXPECT_EQ(text(warning), nullptr);
}

TEST_F(AddDeviceSheetTest, says_below_the_scanning_line_why_no_phone_can_be_found) {
    const HostTools::Tool tool = world.host.tools.dnsSD;
    world.host.tools.dnsSD.executable = "/nowhere/dns-sd";
    open();
    const QString reason = QStringLiteral(
        "No iPhone can be found right now: this computer's service for finding devices on the network isn't "
        "running. Quillbay keeps trying.");
    EXPECT_EQ(text(reason), nullptr);
    world.advance(std::chrono::seconds(5));
    settleWindow();
    EXPECT_NE(text(QString::fromUtf8(scanning)), nullptr);
    EXPECT_NE(text(reason), nullptr);
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    grab(QStringLiteral("add-trouble-light"));
    world.host.tools.dnsSD = tool;
    world.advance(std::chrono::seconds(2));
    ASSERT_TRUE(until([this] { return world.tools.runningZoneDumps() == 1; }));
    world.advance(std::chrono::seconds(3));
    settleWindow();
    EXPECT_EQ(text(reason), nullptr);
}

TEST_F(AddDeviceSheetTest, a_clients_error_stands_below_the_tiles_until_it_answers_again) {
    install("tailscale", "echo 'the daemon is not running' >&2; exit 1");
    open();
    ASSERT_THAT(model().providerErrors(), SizeIs(1));
    const QString error = model().providerErrors()[0];
    QQuickItem* shown = text(error);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    grab(QStringLiteral("add-error-light"));
    installPrinting("tailscale", twoPeers);
    click(control(QStringLiteral("Refresh")));
    untilQuietSheet();
    EXPECT_EQ(text(error), nullptr);
}

TEST_F(AddDeviceSheetTest, refreshing_shows_that_it_runs_and_can_be_left_alone) {
    seeTwoPhones();
    const std::filesystem::path gate = world.folder.path() / "gate";
    install("tailscale", "while [ ! -e '" + gate.string() + "' ]; do sleep 0.02; done\necho '{}'");
    show(QStringLiteral("MainWindow"));
    mainWindow->beginAdd();
    settleWindow();
    EXPECT_THAT(allOfType(QStringLiteral("Spinner")), SizeIs(1));
    EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
    click(row(QStringLiteral("QA iPhone 13 mini")));
    EXPECT_EQ(model().selectedRow(), QStringLiteral("QA-iPhone-13-mini.local"));
    std::ofstream(gate) << "";
    untilQuietSheet();
    EXPECT_THAT(allOfType(QStringLiteral("Spinner")), IsEmpty());
}

TEST_F(AddDeviceSheetTest, long_texts_are_cut_or_wrapped_and_nothing_lies_over_anything) {
    const std::string words = "Lena's very long iPhone name that goes on and on until sixty";
    const std::string longest = "the daemon of this client could not be reached because " + words + " " +
                                words + " " + words + " " + words;
    installAll();
    install("tailscale",
            "echo '" + std::string("x") + "' >&2; sleep 0; printf '%s' \"" + longest + "\" >&2; exit 1");
    DeviceProfile stored = profile("Lena", 49733);
    stored.displayName = words;
    stored.bonjourName = words + words;
    stored.bonjourHost = words + words + ".local";
    save(stored);
    coordinator->upsertCapturedService(phone(words + words, "another.local", 49152));
    for (const QSize size : {QSize(1024, 700), QSize(760, 520)}) {
        show(QStringLiteral("MainWindow"), size);
        mainWindow->beginEdit(QString::fromStdString(stored.id()));
        untilQuietSheet();
        EXPECT_EQ(layoutFaults(sheetItem()), QStringList());
        EXPECT_LE(sheetRect().height(), size.height() - 56);
        grab(QStringLiteral("add-long-%1").arg(size.width()));
        mainWindow->addDevice()->cancel();
        settleWindow();
    }
}

TEST_F(AddDeviceSheetTest, can_be_worked_by_what_it_is_for_people_who_cannot_see) {
    seeTwoPhones();
    open();
    const auto seen = [](QQuickItem* item) { return QAccessible::queryAccessibleInterface(item); };
    QQuickItem* list = control(QStringLiteral("iPhones found on the local network"));
    EXPECT_EQ(seen(list)->role(), QAccessible::List);
    QAccessibleInterface* phone = seen(row(QStringLiteral("QA iPhone 13 mini")));
    EXPECT_EQ(phone->role(), QAccessible::ListItem);
    EXPECT_EQ(phone->text(QAccessible::Name),
              QStringLiteral("QA iPhone 13 mini, QA-iPhone-13-mini.local:51020"));
    phone->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(model().selectedRow(), QStringLiteral("QA-iPhone-13-mini.local"));
    seen(tile(QStringLiteral("Manual IP")))
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("manual"));
    settleWindow();
    EXPECT_EQ(seen(field(QStringLiteral("Manual IP IP address")))->role(), QAccessible::EditableText);
    QAccessibleInterface* cancel = seen(control(QStringLiteral("Cancel")));
    EXPECT_EQ(cancel->role(), QAccessible::Button);
    ASSERT_NE(cancel->actionInterface(), nullptr);
    cancel->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_FALSE(model().isOpen());
}

}  // namespace
}  // namespace quillbay
