#include "ui/AddDeviceFixture.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AddDeviceSave : public AddDeviceFixture {
 protected:
    void SetUp() override {
        AddDeviceFixture::SetUp();
        saved = std::make_unique<QSignalSpy>(model.get(), &AddDeviceModel::saved);
    }
    /// Everything but the connector.
    void fill(const char* row = "lena.local", const char* name = "Lena's iPhone") {
        see("lena.local");
        open();
        model->setSelectedRow(row);
        model->setDisplayName(name);
    }
    [[nodiscard]] const DeviceProfile& only() const {
        EXPECT_THAT(coordinator->profiles(), SizeIs(1));
        return coordinator->profiles().at(0);
    }
    /// The ids that the last save told of.
    [[nodiscard]] std::vector<QString> told() const {
        std::vector<QString> ids;
        for (const QVariant& id : saved->isEmpty() ? QList<QVariant>() : saved->back())
            ids.push_back(id.toString());
        return ids;
    }

    std::unique_ptr<QSignalSpy> saved;
};

TEST_F(AddDeviceSave, stores_the_phone_with_its_peer_and_closes) {
    installPeers();
    CapturedBonjourService lena = service("lena.local");
    lena.txt = {{"identifier", "A-B"}};
    fill("lena.local", "  Lena's iPhone\n");
    coordinator->upsertCapturedService(lena);
    select("tailscale");
    model->setSelectedPeer("lena");
    model->save();

    EXPECT_FALSE(model->isOpen());
    DeviceProfile expected = DeviceProfile::draft("Lena's iPhone");
    expected.bonjourName = "lena-instance";
    expected.bonjourHost = "lena.local";
    expected.remotePairingPort = 49152;
    expected.txtRecord = {{"identifier", "A-B"}};
    expected.providerID = "tailscale";
    expected.providerHostName = "lena";
    expected.providerIP = "100.64.0.7";
    EXPECT_EQ(only(), expected);
    EXPECT_THAT(told(), ElementsAre("lena.local#tailscale", ""));
    EXPECT_THAT(userLines(), Contains(::testing::EndsWith("Device \"Lena's iPhone\" added.")));
}

TEST_F(AddDeviceSave, stores_a_typed_address_without_the_blanks_around_it) {
    fill();
    model->selectProvider("manual");
    model->setManualIP(" \t100.64.0.9 ");
    model->save();
    EXPECT_EQ(only().providerID, "manual");
    EXPECT_EQ(only().providerHostName, "100.64.0.9");
    EXPECT_EQ(only().providerIP, "100.64.0.9");
}

TEST_F(AddDeviceSave, stores_line_breaks_around_a_typed_address) {
    fill();
    model->selectProvider("manual");
    model->setManualIP(" 100.64.0.9\n");
    model->save();
    EXPECT_EQ(only().providerIP, "100.64.0.9\n");
}

TEST_F(AddDeviceSave, stores_a_typed_address_for_a_client_that_lists_no_peers) {
    install("zerotier", "exit 1");
    fill();
    select("zerotier");
    model->setManualIP("10.147.17.5");
    model->save();
    EXPECT_EQ(only().id(), "lena.local#zerotier");
    EXPECT_EQ(only().providerIP, "10.147.17.5");
}

TEST_F(AddDeviceSave, stores_a_name_of_blanks_as_an_empty_one) {
    fill("lena.local", " \n ");
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    EXPECT_EQ(only().displayName, "");
}

TEST_F(AddDeviceSave, does_nothing_with_a_peer_that_has_no_address) {
    installPeers();
    fill();
    select("tailscale");
    model->setSelectedPeer("server");
    EXPECT_TRUE(model->canSave());
    model->save();
    EXPECT_TRUE(model->isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(AddDeviceSave, does_nothing_while_something_is_missing) {
    fill("lena.local", "");
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    EXPECT_TRUE(model->isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(AddDeviceSave, cancelling_changes_nothing) {
    fill();
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->cancel();
    EXPECT_FALSE(model->isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
    model->save();
    EXPECT_THAT(coordinator->profiles(), IsEmpty()) << "it is closed";
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(AddDeviceSave, the_same_phone_and_connector_again_is_the_same_device) {
    for (const char* name : {"First", "Second"}) {
        fill("lena.local", name);
        model->selectProvider("manual");
        model->setManualIP("100.64.0.9");
        model->save();
    }
    EXPECT_EQ(only().displayName, "Second");
}

TEST_F(AddDeviceSave, editing_the_name_keeps_all_else) {
    DeviceProfile lena = profile("lena", 49733);
    lena.bridgeEnabled = true;
    lena.txtRecord = {{"identifier", "A-B"}};
    edit(save(lena));
    model->setDisplayName("  Work phone ");
    model->save();
    EXPECT_FALSE(model->isOpen());
    lena.displayName = "Work phone";
    EXPECT_EQ(only(), lena);
    EXPECT_THAT(told(), ElementsAre("lena.local#tailscale", "lena.local#tailscale"));
    EXPECT_THAT(userLines(), ElementsAre(::testing::EndsWith("Device \"Work phone\" updated.")));
}

TEST_F(AddDeviceSave, editing_takes_the_record_of_a_phone_that_is_seen) {
    edit(save("lena"));
    see("lena.local");
    model->save();
    EXPECT_EQ(only().remotePairingPort, 49152);
    EXPECT_THAT(told(), ElementsAre("lena.local#tailscale", "lena.local#tailscale"));
}

TEST_F(AddDeviceSave, editing_without_a_chosen_phone_keeps_the_record) {
    see("lena.local");
    edit(save("lena"));
    model->setSelectedRow("");
    model->save();
    EXPECT_EQ(only().remotePairingPort, 49733);
}

TEST_F(AddDeviceSave, another_phone_is_another_device_in_place_of_the_former) {
    installPeers();
    see("zoe.local");
    edit(save("lena"));
    model->setSelectedRow("zoe.local");
    model->save();
    EXPECT_EQ(only().id(), "zoe.local#tailscale");
    EXPECT_EQ(only().bonjourName, "zoe-instance");
    EXPECT_EQ(only().displayName, "lena");
    EXPECT_EQ(only().providerIP, "100.64.0.7") << "of the peer with the device's name";
    EXPECT_THAT(told(), ElementsAre("zoe.local#tailscale", "lena.local#tailscale"));
}

TEST_F(AddDeviceSave, another_connector_is_another_device_in_place_of_the_former) {
    edit(save("lena"));
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    EXPECT_EQ(only().id(), "lena.local#manual");
    EXPECT_EQ(only().providerIP, "100.64.0.9");
    EXPECT_THAT(told(), ElementsAre("lena.local#manual", "lena.local#tailscale"));
    const std::vector<std::string> log = lines();
    const auto removed = std::ranges::find(log, "Profile removed: \"lena\" id=lena.local#tailscale");
    const auto added = std::ranges::find_if(
        log, [](const std::string& line) { return line.starts_with("Profile added: \"lena\""); });
    EXPECT_LT(removed, added) << "the former goes first";
    EXPECT_NE(added, log.end());
}

TEST_F(AddDeviceSave, a_bridge_that_was_started_meanwhile_ends_with_the_former_device) {
    phone = std::make_unique<fakes::FakePhone>(world.phoneIP, fakes::FakePhone::Manner::answers);
    DeviceProfile lena = profile("lena", phone->port());
    lena.bridgeEnabled = false;
    const QString id = save(lena);
    edit(id);
    coordinator->start(stored(id));
    ASSERT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::on; }));
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    EXPECT_EQ(kindOf(id), BridgeStatus::Kind::off);
    EXPECT_FALSE(only().bridgeEnabled.value_or(false)) << "the next start would switch it on";
    EXPECT_TRUE(until([&] { return world.tools.runningRegistrations() == 0; }));
    EXPECT_THAT(userLines(), Contains(::testing::EndsWith("Bridge is closed \"lena\"")));
}

TEST_F(AddDeviceSave, a_connector_that_is_not_complete_leaves_the_former_one) {
    const DeviceProfile lena = profile("lena", 49733);
    edit(save(lena));
    model->selectProvider("manual");
    model->setManualIP("  ");
    model->save();
    EXPECT_FALSE(model->isOpen());
    EXPECT_EQ(only(), lena);
}

TEST_F(AddDeviceSave, a_peer_that_is_not_listed_leaves_the_former_connector) {
    installPeers(R"({"Peer": {}})");
    const DeviceProfile lena = profile("lena", 49733);
    edit(save(lena));
    model->save();
    EXPECT_EQ(only(), lena);
}

TEST_F(AddDeviceSave, a_peer_of_an_edited_device_without_an_address_leaves_the_former_connector) {
    installPeers();
    const DeviceProfile lena = profile("lena", 49733);
    edit(save(lena));
    model->setSelectedPeer("server");
    model->save();
    EXPECT_FALSE(model->isOpen());
    EXPECT_EQ(only(), lena);
}

TEST_F(AddDeviceSave, a_new_address_of_the_same_peer_is_taken) {
    installPeers();
    edit(save("lena"));
    model->save();
    EXPECT_EQ(only().providerIP, "100.64.0.7");
}

TEST_F(AddDeviceSave, what_changed_while_it_was_open_is_not_changed_back) {
    const QString id = save("lena");
    edit(id);
    coordinator->updateRemotePairingPort(50000, id.toStdString());
    coordinator->setBridgeEnabled(true, id.toStdString());
    model->setDisplayName("Work phone");
    model->save();
    EXPECT_EQ(only().remotePairingPort, 50000);
    EXPECT_EQ(only().bridgeEnabled, true);
    EXPECT_EQ(only().displayName, "Work phone");
}

TEST_F(AddDeviceSave, a_device_that_was_removed_meanwhile_is_there_again) {
    const DeviceProfile lena = profile("lena", 49733);
    edit(save(lena));
    coordinator->deleteProfile(lena);
    model->save();
    EXPECT_EQ(only(), lena);
}

TEST_F(AddDeviceSave, a_device_that_saving_would_replace_is_named_before_anything_is_changed) {
    DeviceProfile work = profile("lena", 49733);
    work.displayName = "Work phone";
    work.providerID = "manual";
    save(work);
    edit(save("lena"));
    EXPECT_EQ(model->replacementWarning(), "") << "the device itself";
    model->selectProvider("manual");
    EXPECT_EQ(model->replacementWarning(), "") << "without an address the connector stays as it was";
    QSignalSpy changed(model.get(), &AddDeviceModel::changed);
    model->setManualIP("100.64.0.9");
    EXPECT_EQ(model->replacementWarning(),
              "Saving replaces \"Work phone\", which stands for the same iPhone and network connector.");
    EXPECT_EQ(changed.size(), 1);
    EXPECT_TRUE(model->canSave());
    EXPECT_THAT(coordinator->profiles(), SizeIs(2));
    model->cancel();
    EXPECT_THAT(coordinator->profiles(), SizeIs(2));
    EXPECT_EQ(stored("lena.local#manual").displayName, "Work phone");
}

TEST_F(AddDeviceSave, an_edited_device_takes_the_place_of_the_one_whose_phone_and_connector_it_gets) {
    DeviceProfile work = profile("lena", 49733);
    work.displayName = "Work phone";
    work.providerID = "manual";
    save(work);
    save("zoe");
    edit(save("lena"));
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    ASSERT_THAT(coordinator->profiles(), SizeIs(2));
    EXPECT_EQ(coordinator->profiles().at(0).id(), "lena.local#manual") << "in its place in the list";
    EXPECT_EQ(coordinator->profiles().at(0).displayName, "lena");
    EXPECT_EQ(coordinator->profiles().at(0).providerIP, "100.64.0.9");
    EXPECT_EQ(coordinator->profiles().at(1).id(), "zoe.local#tailscale");
}

TEST_F(AddDeviceSave, a_new_device_that_is_saved_already_is_named_and_follows_its_name) {
    DeviceProfile lena = profile("lena", 49733);
    lena.providerID = "manual";
    save(lena);
    fill();
    EXPECT_EQ(model->replacementWarning(), "");
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    EXPECT_EQ(model->replacementWarning(),
              "Saving replaces \"lena\", which stands for the same iPhone and network connector.");
    lena.displayName = "";
    QSignalSpy changed(model.get(), &AddDeviceModel::changed);
    save(lena);
    EXPECT_GE(changed.size(), 1);
    EXPECT_EQ(model->replacementWarning(),
              "Saving replaces another saved device, which stands for the same iPhone and network "
              "connector.");
    coordinator->deleteProfile(lena);
    EXPECT_EQ(model->replacementWarning(), "");
}

TEST_F(AddDeviceSave, saving_does_not_warn_of_the_device_that_is_saved) {
    QStringList warnings;
    QObject::connect(model.get(), &AddDeviceModel::changed, model.get(),
                     [&] { warnings.append(model->replacementWarning()); });
    fill();
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    ASSERT_THAT(coordinator->profiles(), SizeIs(1));
    warnings.append(model->replacementWarning());
    EXPECT_THAT(warnings, ::testing::Each(QString()));
}

TEST_F(AddDeviceSave, tells_of_the_device_after_it_is_closed_and_stored) {
    bool inOrder = false;
    QObject::connect(model.get(), &AddDeviceModel::saved, model.get(),
                     [&] { inOrder = !model->isOpen() && coordinator->profiles().size() == 1; });
    fill();
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->save();
    EXPECT_TRUE(inOrder);
}

}  // namespace
}  // namespace quillbay
