#include "ui/SettingsWindowFixture.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(SettingsWindowTest, every_edit_of_a_path_is_kept_at_once) {
    open();
    QQuickItem* path = ofType(QStringLiteral("InputField"), card(QStringLiteral("Tailscale CLI path")));
    click(path);
    type(QStringLiteral("/opt"));
    EXPECT_EQ(SettingsStore(world.host.files).string("meshvpn.binaryPath.tailscale"), "/opt");
    type(QStringLiteral("/t"));
    EXPECT_EQ(SettingsStore(world.host.files).string("meshvpn.binaryPath.tailscale"), "/opt/t");
    press(Qt::Key_Return);
    EXPECT_EQ(path->property("text").toString(), QStringLiteral("/opt/t"));
    EXPECT_TRUE(window->isVisible());
}

TEST_F(SettingsWindowTest, shows_the_kept_paths_each_time_it_appears) {
    use("netbird", "/usr/local/bin/netbird");
    open();
    QQuickItem* path = ofType(QStringLiteral("InputField"), card(QStringLiteral("Netbird CLI path")));
    EXPECT_EQ(path->property("text").toString(), QStringLiteral("/usr/local/bin/netbird"));
    window->hide();
    use("netbird", "/somewhere/else");
    window->show();
    settleWindow();
    EXPECT_EQ(path->property("text").toString(), QStringLiteral("/somewhere/else"));
}

TEST_F(SettingsWindowTest, a_client_that_cannot_list_its_peers_has_no_test) {
    open();
    EXPECT_EQ(control(QStringLiteral("Test device list"), card(QStringLiteral("ZeroTier CLI path"))),
              nullptr);
    EXPECT_NE(control(QStringLiteral("Test device list"), card(QStringLiteral("Netbird CLI path"))), nullptr);
    EXPECT_EQ(text(QStringLiteral("0 devices found")), nullptr) << "before any test";
}

TEST_F(SettingsWindowTest, one_peer_reads_in_the_singular_and_other_counts_in_the_plural) {
    installPeers(1);
    open();
    testDeviceList();
    EXPECT_NE(text(QStringLiteral("1 device found")), nullptr);
    installPeers(0);
    testDeviceList();
    EXPECT_NE(text(QStringLiteral("0 devices found")), nullptr);
    installPeers(3);
    testDeviceList();
    EXPECT_NE(text(QStringLiteral("3 devices found")), nullptr);
    const QQuickItem* line =
        ofType(QStringLiteral("CaptionLine"), card(QStringLiteral("Tailscale CLI path")));
    EXPECT_EQ(line->property("symbol").toString(), QStringLiteral("checkmark.circle"));
}

TEST_F(SettingsWindowTest, a_failed_test_shows_the_clients_error) {
    use("tailscale", client("tailscale", "echo 'it is not running' >&2; exit 1"));
    open();
    testDeviceList();
    const QQuickItem* line =
        ofType(QStringLiteral("CaptionLine"), card(QStringLiteral("Tailscale CLI path")));
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->property("symbol").toString(), QStringLiteral("exclamationmark.triangle.fill"));
    EXPECT_EQ(line->property("text").toString(),
              QStringLiteral("CLI exited with status 1: it is not running"));
    EXPECT_EQ(layoutFaults(), QStringList());
}

TEST_F(SettingsWindowTest,
       a_path_that_cannot_be_kept_is_told_beside_what_a_test_finds_and_when_it_opens_again) {
    open();
    std::filesystem::remove_all(world.host.files.configuration);
    std::ofstream(world.host.files.configuration) << "a file";
    QQuickItem* tailscale = card(QStringLiteral("Tailscale CLI path"));
    QQuickItem* path = ofType(QStringLiteral("InputField"), tailscale);
    click(path);
    type(QStringLiteral("/"));
    const QString notice =
        QStringLiteral("This path is used until Quillbay quits. It could not be saved: Not a directory");
    EXPECT_NE(text(notice, tailscale), nullptr);
    testDeviceList();
    EXPECT_NE(text(notice, tailscale), nullptr);
    EXPECT_THAT(allOfType(QStringLiteral("CaptionLine"), tailscale), SizeIs(2));
    EXPECT_EQ(layoutFaults(), QStringList());
    window->hide();
    window->show();
    settleWindow();
    EXPECT_EQ(path->property("text").toString(), QStringLiteral("/"));
    EXPECT_NE(text(notice, tailscale), nullptr);
}

TEST_F(SettingsWindowTest, a_test_shows_that_it_runs_and_can_be_left_alone) {
    const std::filesystem::path gate = world.folder.path() / "gate";
    use("tailscale",
        client("tailscale", "while [ ! -e '" + gate.string() + "' ]; do sleep 0.02; done\necho '{}'"));
    open();
    click(testButton());
    EXPECT_THAT(allOfType(QStringLiteral("Spinner")), SizeIs(1));
    EXPECT_FALSE(testButton()->isEnabled());
    click(ofType(QStringLiteral("ToggleSwitch")));
    EXPECT_TRUE(launchAtLogin.enabled) << "the window waits for the client";
    std::ofstream(gate) << "";
    ASSERT_TRUE(until([this] { return !settingsModel->providers().at(0)->testing(); }));
    settleWindow();
    EXPECT_THAT(allOfType(QStringLiteral("Spinner")), IsEmpty());
    EXPECT_TRUE(testButton()->isEnabled());
}

}  // namespace
}  // namespace quillbay
