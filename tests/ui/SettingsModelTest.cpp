#include "ui/models/SettingsModel.h"

#include <sys/stat.h>

#include <QSignalSpy>
#include <fstream>
#include <memory>
#include <sstream>

#include "ui/ModelFixture.h"
#include "ui/SharedModelsForTests.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Result = ProviderSettingsModel::Result;

class SettingsModelTest : public ModelFixture {
 protected:
    void SetUp() override {
        make();
        shared = std::make_unique<SharedModelsForTests>(world.host, *coordinator);
        store = std::make_unique<SettingsStore>(world.host.files);
        model =
            std::make_unique<SettingsModel>(*coordinator, *store, login, shared->profiles, shared->updates);
    }

    [[nodiscard]] ProviderSettingsModel& provider(const QString& id) {
        for (ProviderSettingsModel* each : model->providers())
            if (each->providerID() == id) return *each;
        throw std::logic_error("no such provider");
    }
    /// The path of a client that runs `body`.
    [[nodiscard]] QString client(const std::string& name, const std::string& body) const {
        const fs::path path = world.folder.path() / name;
        std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
        ::chmod(path.c_str(), 0700);
        return QString::fromStdString(path.string());
    }
    [[nodiscard]] QString listing(int peers) const {
        std::string document = R"({"Peer": {)";
        for (int i = 0; i < peers; ++i)
            document += (i == 0 ? "" : ", ") + ("\"" + std::to_string(i)) + R"(": {"HostName": "p"})";
        return client("lists-" + std::to_string(peers), "cat <<'END'\n" + document + "}}\nEND");
    }
    void test(const QString& providerID) {
        provider(providerID).testDeviceList();
        EXPECT_TRUE(provider(providerID).testing());
        EXPECT_EQ(provider(providerID).result(), Result::None);
        ASSERT_TRUE(until([&] { return !provider(providerID).testing(); }));
    }
    [[nodiscard]] fs::path settingsFile() const {
        return world.folder.path() / "config" / "Quillbay" / "settings.json";
    }
    [[nodiscard]] std::string settings() const {
        std::ostringstream text;
        text << std::ifstream(settingsFile()).rdbuf();
        return text.str();
    }

    fakes::FakeLaunchAtLogin login;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<SharedModelsForTests> shared;
    std::unique_ptr<SettingsModel> model;
};

TEST_F(SettingsModelTest, has_a_block_for_each_provider_in_the_order_of_the_registry) {
    std::vector<QString> labels;
    for (const ProviderSettingsModel* each : model->providers())
        labels.push_back(each->label());
    EXPECT_THAT(labels, ElementsAre("Tailscale CLI path", "ZeroTier CLI path", "Netbird CLI path"));
}

TEST_F(SettingsModelTest, says_of_a_provider_that_it_cannot_list_its_peers) {
    EXPECT_EQ(provider("zerotier").note(),
              "No automatic device list for ZeroTier — paste the device's IP directly in Add Device.");
    EXPECT_FALSE(provider("zerotier").supportsDeviceList());
    EXPECT_EQ(provider("tailscale").note(), "");
    EXPECT_TRUE(provider("tailscale").supportsDeviceList());
    EXPECT_TRUE(provider("netbird").supportsDeviceList());
}

TEST_F(SettingsModelTest, shows_the_paths_that_are_kept) {
    EXPECT_EQ(provider("tailscale").path(), "");
    store->setString("meshvpn.binaryPath.tailscale", "/opt/tailscale");
    QSignalSpy changed(&provider("tailscale"), &ProviderSettingsModel::pathChanged);
    model->loadPersistedConfig();
    EXPECT_EQ(provider("tailscale").path(), "/opt/tailscale");
    EXPECT_EQ(provider("netbird").path(), "");
    EXPECT_EQ(changed.size(), 1);
}

TEST_F(SettingsModelTest, keeps_every_edit_of_a_path_at_once) {
    provider("netbird").setPath("/opt/n");
    EXPECT_EQ(store->string("meshvpn.binaryPath.netbird"), "/opt/n");
    EXPECT_EQ(coordinator->providersByID().at("netbird")->binaryPath(), "/opt/n");
    provider("netbird").setPath("/opt/ne");
    EXPECT_EQ(store->string("meshvpn.binaryPath.netbird"), "/opt/ne");
    EXPECT_THAT(lines(),
                ElementsAre("CLI path for netbird set to /opt/n", "CLI path for netbird set to /opt/ne"));
}

TEST_F(SettingsModelTest, an_empty_path_is_the_usual_one) {
    provider("netbird").setPath("/opt/netbird");
    provider("netbird").setPath("");
    EXPECT_EQ(store->string("meshvpn.binaryPath.netbird"), std::nullopt);
    EXPECT_EQ(coordinator->providersByID().at("netbird")->binaryPath(), "/usr/local/bin/netbird");
    EXPECT_EQ(lines().back(), "CLI path for netbird set to (default)");
}

TEST_F(SettingsModelTest, the_same_path_again_is_no_edit) {
    provider("netbird").setPath("");
    provider("netbird").setPath("/opt/netbird");
    provider("netbird").setPath("/opt/netbird");
    EXPECT_THAT(lines(), SizeIs(1));
}

TEST_F(SettingsModelTest, says_when_a_path_cannot_be_kept_and_uses_it_all_the_same) {
    fs::create_directories(settingsFile().parent_path());
    std::ofstream(settingsFile()) << "{broken";
    EXPECT_NO_THROW(provider("netbird").setPath("/opt/netbird"));
    EXPECT_EQ(provider("netbird").path(), "/opt/netbird");
    EXPECT_EQ(coordinator->providersByID().at("netbird")->binaryPath(), "/opt/netbird");
    EXPECT_THAT(provider("netbird").pathNotice().toStdString(),
                StartsWith("This path is used until Quillbay quits. It could not be saved: the settings in " +
                           settingsFile().string() + " cannot be read and are left as they are"));
    EXPECT_EQ(settings(), "{broken");

    fs::remove(settingsFile());
    provider("netbird").setPath("/opt/netbird2");
    EXPECT_EQ(provider("netbird").pathNotice(), "");
}

TEST_F(SettingsModelTest, a_path_that_could_not_be_kept_stands_there_for_as_long_as_it_is_used) {
    store->setString("meshvpn.binaryPath.tailscale", "/opt/kept");
    model->loadPersistedConfig();
    fs::remove_all(settingsFile().parent_path().parent_path());
    std::ofstream(settingsFile().parent_path().parent_path()) << "a file";
    const QString used = listing(2);
    provider("tailscale").setPath(used);
    const QString notice = "This path is used until Quillbay quits. It could not be saved: Not a directory";
    EXPECT_EQ(provider("tailscale").pathNotice(), notice);

    model->loadPersistedConfig();
    EXPECT_EQ(provider("tailscale").path(), used) << "after the window was opened again";
    EXPECT_EQ(provider("tailscale").pathNotice(), notice);
    EXPECT_EQ(coordinator->providersByID().at("tailscale")->binaryPath(), used.toStdString());

    test("tailscale");
    EXPECT_EQ(provider("tailscale").resultText(), "2 devices found");
    EXPECT_EQ(provider("tailscale").pathNotice(), notice) << "after a test";
}

TEST_F(SettingsModelTest, an_edit_that_cannot_be_kept_while_a_test_runs_is_told_after_it_too) {
    provider("tailscale").setPath(client("hangs", "sleep 60"));
    provider("tailscale").testDeviceList();
    fs::remove_all(settingsFile().parent_path().parent_path());
    std::ofstream(settingsFile().parent_path().parent_path()) << "a file";
    provider("tailscale").setPath(listing(1));
    ASSERT_TRUE(until([&] { return !provider("tailscale").testing(); }));
    EXPECT_EQ(provider("tailscale").resultText(), "1 device found");
    EXPECT_EQ(provider("tailscale").pathNotice(),
              "This path is used until Quillbay quits. It could not be saved: Not a directory");
}

TEST_F(SettingsModelTest, says_in_plain_words_why_the_disk_refused_a_path) {
    const fs::path configuration = settingsFile().parent_path().parent_path();
    fs::remove_all(configuration);
    std::ofstream(configuration) << "a file";
    provider("netbird").setPath("/opt/netbird");
    EXPECT_EQ(provider("netbird").pathNotice(),
              "This path is used until Quillbay quits. It could not be saved: Not a directory");
}

TEST_F(SettingsModelTest, counts_the_devices_that_a_test_found) {
    struct Case {
        int peers;
        const char* text;
    };
    for (const Case& each :
         {Case{0, "0 devices found"}, Case{1, "1 device found"}, Case{2, "2 devices found"},
          Case{3, "3 devices found"}, Case{11, "11 devices found"}}) {
        provider("tailscale").setPath(listing(each.peers));
        test("tailscale");
        EXPECT_EQ(provider("tailscale").result(), Result::Found);
        EXPECT_EQ(provider("tailscale").resultText(), each.text);
    }
}

TEST_F(SettingsModelTest, shows_why_a_test_failed) {
    provider("tailscale").setPath(client("fails", "echo 'not logged in' >&2; exit 1"));
    test("tailscale");
    EXPECT_EQ(provider("tailscale").result(), Result::Failed);
    EXPECT_EQ(provider("tailscale").resultText(), "CLI exited with status 1: not logged in");

    provider("tailscale").setPath("/nowhere/tailscale");
    test("tailscale");
    EXPECT_EQ(provider("tailscale").resultText(),
              "CLI not found at the configured path — check the path in Settings.");
}

TEST_F(SettingsModelTest, shows_the_failure_and_not_the_devices_of_an_earlier_test) {
    provider("tailscale").setPath(listing(2));
    test("tailscale");
    provider("tailscale").setPath(client("fails", "exit 1"));
    test("tailscale");
    EXPECT_EQ(provider("tailscale").resultText(), "CLI exited with status 1");
    provider("tailscale").setPath(listing(2));
    test("tailscale");
    EXPECT_EQ(provider("tailscale").resultText(), "2 devices found");
}

TEST_F(SettingsModelTest, a_test_concerns_one_provider) {
    provider("tailscale").setPath(listing(1));
    provider("netbird").setPath("/nowhere/netbird");
    test("tailscale");
    EXPECT_EQ(provider("netbird").result(), Result::None);
    test("netbird");
    EXPECT_EQ(provider("netbird").result(), Result::Failed);
    EXPECT_EQ(provider("tailscale").resultText(), "1 device found");
}

TEST_F(SettingsModelTest, a_result_goes_with_the_path_that_it_was_found_with) {
    provider("tailscale").setPath(listing(1));
    test("tailscale");
    provider("tailscale").setPath("/nowhere/tailscale");
    EXPECT_EQ(provider("tailscale").result(), Result::None);
    EXPECT_EQ(provider("tailscale").resultText(), "");
}

TEST_F(SettingsModelTest, a_test_that_runs_goes_on_with_the_new_path) {
    provider("tailscale").setPath(client("hangs", "sleep 60"));
    provider("tailscale").testDeviceList();
    provider("tailscale").testDeviceList();
    provider("tailscale").setPath(listing(3));
    EXPECT_TRUE(provider("tailscale").testing());
    ASSERT_TRUE(until([&] { return !provider("tailscale").testing(); }));
    EXPECT_EQ(provider("tailscale").resultText(), "3 devices found");
}

TEST_F(SettingsModelTest, a_result_is_forgotten_when_the_window_appears_again) {
    provider("tailscale").setPath(listing(1));
    test("tailscale");
    model->loadPersistedConfig();
    EXPECT_EQ(provider("tailscale").result(), Result::None);
    EXPECT_TRUE(provider("tailscale").path().endsWith("/lists-1"));
}

TEST_F(SettingsModelTest, may_go_while_a_test_runs) {
    provider("tailscale").setPath(client("slow", "sleep 0.2"));
    provider("tailscale").testDeviceList();
    model.reset();
    EXPECT_TRUE(untilQuiet());
}

TEST_F(SettingsModelTest, the_switch_adds_and_removes_the_login_item) {
    QSignalSpy changed(model.get(), &SettingsModel::launchAtLoginChanged);
    EXPECT_FALSE(model->launchAtLogin());
    model->setLaunchAtLogin(true);
    EXPECT_TRUE(login.enabled);
    EXPECT_TRUE(model->launchAtLogin());
    EXPECT_TRUE(coordinator->launchAtLoginEnabled());
    EXPECT_GE(changed.size(), 1);
    model->setLaunchAtLogin(false);
    EXPECT_FALSE(login.enabled);
    EXPECT_FALSE(coordinator->launchAtLoginEnabled());
    EXPECT_EQ(model->launchAtLoginError(), "");
}

TEST_F(SettingsModelTest, the_switch_says_why_it_could_not_be_set) {
    login.failure = "The disk is full.";
    QSignalSpy changed(model.get(), &SettingsModel::launchAtLoginChanged);
    model->setLaunchAtLogin(true);
    EXPECT_FALSE(model->launchAtLogin());
    EXPECT_FALSE(coordinator->launchAtLoginEnabled());
    EXPECT_EQ(model->launchAtLoginError(), "The disk is full.");
    EXPECT_EQ(changed.size(), 1) << "the switch in the window has to go back";
    login.failure.reset();
    model->setLaunchAtLogin(true);
    EXPECT_TRUE(model->launchAtLogin());
    EXPECT_EQ(model->launchAtLoginError(), "");
}

TEST_F(SettingsModelTest, the_switch_shows_what_the_desktop_has) {
    login.enabled = true;
    model->loadPersistedConfig();
    EXPECT_TRUE(model->launchAtLogin());
    login.enabled = false;
    model->loadPersistedConfig();
    EXPECT_FALSE(model->launchAtLogin());

    login.enabled = true;
    const SettingsModel atStart(*coordinator, *store, login, shared->profiles, shared->updates);
    EXPECT_TRUE(coordinator->launchAtLoginEnabled()) << "before any window appears";
}

TEST_F(SettingsModelTest, the_switch_follows_the_coordinator) {
    QSignalSpy changed(model.get(), &SettingsModel::launchAtLoginChanged);
    coordinator->setLaunchAtLoginEnabled(true);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_TRUE(model->launchAtLogin());
    coordinator->setLaunchAtLoginEnabled(true);
    EXPECT_EQ(changed.size(), 1) << "nothing changed";
}

TEST_F(SettingsModelTest, the_bridge_is_restricted_to_this_computer_and_opened_again) {
    QSignalSpy changed(model.get(), &SettingsModel::onlyThisComputerChanged);
    EXPECT_FALSE(model->onlyThisComputer());
    model->setOnlyThisComputer(true);
    EXPECT_TRUE(model->onlyThisComputer());
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_GE(changed.size(), 1);
    EXPECT_EQ(store->boolean("bridge.onlyThisComputer"), true);
    model->setOnlyThisComputer(false);
    EXPECT_FALSE(coordinator->onlyThisComputer());
    EXPECT_EQ(model->onlyThisComputerError(), "");
}

TEST_F(SettingsModelTest, the_restriction_follows_a_change_at_the_terminal) {
    QSignalSpy changed(model.get(), &SettingsModel::onlyThisComputerChanged);
    coordinator->setOnlyThisComputer(true);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_TRUE(model->onlyThisComputer());
}

TEST_F(SettingsModelTest, a_restriction_that_cannot_be_saved_holds_and_says_so) {
    const fs::path configuration = settingsFile().parent_path().parent_path();
    fs::remove_all(configuration);
    std::ofstream(configuration) << "a file";
    model->setOnlyThisComputer(true);
    EXPECT_TRUE(model->onlyThisComputer());
    EXPECT_EQ(model->onlyThisComputerError(),
              "This holds until Quillbay quits. It could not be saved: Not a directory");
    fs::remove(configuration);
    EXPECT_EQ(coordinator->setOnlyThisComputer(true), std::nullopt) << "at the terminal, once there is room";
    EXPECT_EQ(model->onlyThisComputerError(), "");
    model->setOnlyThisComputer(false);
    EXPECT_EQ(model->onlyThisComputerError(), "");
}

TEST_F(SettingsModelTest, removes_a_device_once_it_is_confirmed) {
    const QString lena = save("lena");
    save("zoe");
    model->askRemoval(lena);
    EXPECT_TRUE(model->removal()->isOpen());
    EXPECT_THAT(coordinator->profiles(), SizeIs(2));
    model->removal()->confirm();
    EXPECT_EQ(model->profiles()->count(), 1);
    EXPECT_EQ(coordinator->profiles().front().displayName, "zoe");
}

TEST_F(SettingsModelTest, has_no_devices_after_the_last_one_was_removed) {
    model->askRemoval(save("lena"));
    model->removal()->confirm();
    EXPECT_EQ(model->profiles()->count(), 0);
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(SettingsModelTest, says_once_in_the_log_that_diagnostics_were_asked_for_and_sends_them) {
    world.host.desktop = &shared->desktop;
    model->sendDiagnostics();
    EXPECT_THAT(lines(), ElementsAre("User requested Send diagnostics to support team"));
    ASSERT_TRUE(until([&] { return !shared->desktop.mails.empty(); }));
    EXPECT_EQ(shared->desktop.mails.front().body, coordinator->supportEmailBody());
    EXPECT_TRUE(shared->desktop.mails.front().attachment.has_value());
}

}  // namespace
}  // namespace quillbay
