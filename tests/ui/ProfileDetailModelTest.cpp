#include "ui/models/ProfileDetailModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProfileDetailModelTest : public ModelFixture {
 protected:
    ProfileDetailModelTest() {
        make();
        model = std::make_unique<ProfileDetailModel>(*coordinator);
        changed = std::make_unique<QSignalSpy>(model.get(), &ProfileDetailModel::changed);
    }
    void show(const DeviceProfile& profile) { model->show(save(profile)); }

    std::unique_ptr<ProfileDetailModel> model;
    std::unique_ptr<QSignalSpy> changed;
};

TEST_F(ProfileDetailModelTest, shows_nothing_at_first) {
    save("lena");
    EXPECT_EQ(model->profileID(), "");
    EXPECT_EQ(model->displayName(), "");
    EXPECT_EQ(model->status().kind, status::Kind::Off);
    EXPECT_EQ(model->status().text, "");
    EXPECT_FALSE(model->switchOn());
    for (const QString& fact :
         {model->device(), model->connector(), model->remotePairingPort(), model->tunnelPortRange(),
          model->serviceName(), model->host(), model->serviceType(), model->txtRecord(), model->scanText()})
        EXPECT_EQ(fact, "");
    EXPECT_FALSE(model->scanning());
    EXPECT_EQ(model->scanFraction(), 0);
}

TEST_F(ProfileDetailModelTest, shows_the_facts_of_a_profile) {
    DeviceProfile mine = DeviceProfile::draft("Lena's iPhone 16 Pro");
    mine.bonjourName = "7C3E51A2-0B4F-4E5D-8E6A-5D2F6C8E1B07";
    mine.bonjourHost = "Lenas-iPhone.local";
    mine.remotePairingPort = 49733;
    mine.providerID = "tailscale";
    mine.providerHostName = "lena-iphone";
    mine.providerIP = "100.92.14.7";
    mine.txtRecord = {{"ver", "24"}, {"flags", "0"}};
    show(mine);
    EXPECT_EQ(model->profileID(), "Lenas-iPhone.local#tailscale");
    EXPECT_EQ(model->displayName(), "Lena's iPhone 16 Pro");
    EXPECT_EQ(model->device(), "lena-iphone");
    EXPECT_EQ(model->connector(), "Tailscale \u00b7 100.92.14.7");
    EXPECT_EQ(model->remotePairingPort(), "49733");
    EXPECT_EQ(model->tunnelPortRange(), "55000\u201358000");
    EXPECT_EQ(model->serviceName(), "7C3E51A2-0B4F-4E5D-8E6A-5D2F6C8E1B07");
    EXPECT_EQ(model->host(), "Lenas-iPhone.local");
    EXPECT_EQ(model->serviceType(), "_remotepairing._tcp");
    EXPECT_EQ(model->txtRecord(), "2 entries");
}

TEST_F(ProfileDetailModelTest, what_is_not_known_reads_unknown) {
    DeviceProfile mine = DeviceProfile::draft("lena");
    mine.bonjourHost = "";
    mine.serviceType = "";
    mine.providerID = "netbird";
    show(mine);
    EXPECT_EQ(model->device(), "Unknown");
    EXPECT_EQ(model->connector(), "Netbird \u00b7 Unknown");
    EXPECT_EQ(model->remotePairingPort(), "Unknown");
    EXPECT_EQ(model->serviceName(), "Unknown");
    EXPECT_EQ(model->host(), "Unknown");
    EXPECT_EQ(model->serviceType(), "Unknown");
}

TEST_F(ProfileDetailModelTest, counts_the_entries_of_the_record) {
    DeviceProfile mine = profile("lena", 49733);
    show(mine);
    EXPECT_EQ(model->txtRecord(), "0 entries");
    mine.txtRecord = {{"ver", "24"}};
    save(mine);
    EXPECT_EQ(model->txtRecord(), "1 entry");
    for (int key = 1; key < 7; ++key)
        mine.txtRecord[std::to_string(key)] = "";
    save(mine);
    EXPECT_EQ(model->txtRecord(), "7 entries");
}

TEST_F(ProfileDetailModelTest, names_a_typed_in_address_as_such) {
    DeviceProfile mine = profile("lena", 49733);
    mine.providerID = "manual";
    mine.providerHostName = mine.providerIP = "10.0.0.9";
    show(mine);
    EXPECT_EQ(model->connector(), "Manual IP \u00b7 10.0.0.9");
    EXPECT_EQ(model->device(), "10.0.0.9");
}

TEST_F(ProfileDetailModelTest, hostile_facts_stay_on_their_lines) {
    DeviceProfile mine = profile("lena", 49733);
    mine.displayName = "lena\n%1";
    mine.bonjourName = "a\x1b[31m";
    mine.providerHostName = "b\u202ec";
    mine.providerIP = "%1 %2";
    show(mine);
    EXPECT_EQ(model->displayName(), "lena %1");
    EXPECT_EQ(model->serviceName(), "a\\x1b[31m");
    EXPECT_EQ(model->device(), "b\\u{202e}c");
    EXPECT_EQ(model->connector(), "Tailscale \u00b7 %1 %2");
}

TEST_F(ProfileDetailModelTest, an_unknown_profile_shows_nothing) {
    model->show("nobody#");
    EXPECT_EQ(model->profileID(), "");
    EXPECT_EQ(changed->count(), 0);
    model->show(save("lena"));
    model->show("nobody#");
    EXPECT_EQ(model->profileID(), "");
    EXPECT_EQ(model->displayName(), "");
}

TEST_F(ProfileDetailModelTest, follows_a_change_of_what_it_shows_and_of_nothing_else) {
    const QString id = save("lena");
    const QString other = save("alan");
    model->show(id);
    changed->clear();
    model->show(id);
    fail(other);
    DeviceProfile changing = stored(other);
    changing.displayName = "Alan's";
    save(changing);
    turn();
    EXPECT_EQ(changed->count(), 0);
    changing = stored(id);
    changing.remotePairingPort = 50000;
    save(changing);
    EXPECT_EQ(changed->count(), 1);
    EXPECT_EQ(model->remotePairingPort(), "50000");
}

TEST_F(ProfileDetailModelTest, shows_nothing_when_the_profile_goes) {
    model->show(save("lena"));
    coordinator->deleteProfile(stored(model->profileID()));
    EXPECT_EQ(model->profileID(), "");
    EXPECT_EQ(model->host(), "");
    save("lena");
    EXPECT_EQ(model->profileID(), "") << "shown without anybody's wish";
}

TEST_F(ProfileDetailModelTest, the_switch_is_on_while_pairing_and_on) {
    const QString id = saveAndBridge("lena");
    model->show(id);
    EXPECT_EQ(model->status().text, "Bridge active");
    EXPECT_TRUE(model->switchOn());
    pair(id);
    EXPECT_EQ(model->status().text, "Pairing\u2026");
    EXPECT_TRUE(model->switchOn());
}

TEST_F(ProfileDetailModelTest, the_switch_is_off_for_off_and_error) {
    const QString id = save("lena");
    model->show(id);
    EXPECT_EQ(model->status().text, "Off");
    EXPECT_FALSE(model->switchOn());
    fail(id);
    EXPECT_EQ(model->status().text, "Error: Couldn't determine this Mac's network address.");
    EXPECT_FALSE(model->switchOn());
}

TEST_F(ProfileDetailModelTest, switching_on_starts_the_bridge_with_a_scan_if_the_port_is_stale) {
    const QString id = save("lena");
    model->show(id);
    model->setSwitch(true);
    ASSERT_TRUE(until([&] { return model->switchOn(); }));
    EXPECT_EQ(kindOf(id), BridgeStatus::Kind::pairing);
    EXPECT_EQ(stored(id).bridgeEnabled, true);
    EXPECT_THAT(userLines(), ElementsAre("Bridging to \"lena\""));
    EXPECT_THAT(lines(), Contains("Starting bridge for \"lena\": provider=Tailscale ip=" + world.phoneIP +
                                  " port=49733 scanIfPortStale=true localIP=" + world.macIP));
}

TEST_F(ProfileDetailModelTest, switching_off_ends_the_bridge_and_remembers_it) {
    const QString id = saveAndBridge("lena");
    model->show(id);
    model->setSwitch(false);
    EXPECT_FALSE(model->switchOn());
    EXPECT_EQ(kindOf(id), BridgeStatus::Kind::off);
    EXPECT_EQ(stored(id).bridgeEnabled, false);
    EXPECT_EQ(userLines().back(), "Bridge is closed \"lena\"");
    EXPECT_THAT(lines(), Contains("Bridge torn down for \"lena\" (announceClose=true, wasRunning=true)"));
}

TEST_F(ProfileDetailModelTest, a_switch_that_was_pushed_is_told_what_holds) {
    const QString id = save("lena");
    model->show(id);
    changed->clear();
    world.setAddress(std::nullopt);
    model->setSwitch(true);
    ASSERT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::error; }));
    turn();
    EXPECT_FALSE(model->switchOn());
    changed->clear();
    model->setSwitch(false);
    const auto atOnce = changed->count();
    turn();
    EXPECT_GT(changed->count(), atOnce) << "a switch that shows another state than the model's stays wrong";
}

TEST_F(ProfileDetailModelTest, the_switch_does_nothing_without_a_profile) {
    save("lena");
    model->setSwitch(true);
    model->setSwitch(false);
    model->scan();
    model->stopScan();
    turn();
    EXPECT_THAT(userLines(), IsEmpty());
    EXPECT_EQ(changed->count(), 0);
}

}  // namespace
}  // namespace quillbay
