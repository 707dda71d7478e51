#include <QElapsedTimer>

#include "ui/AddDeviceFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using AddDeviceLists = AddDeviceFixture;

TEST_F(AddDeviceLists, are_without_phones_until_one_is_seen) {
    open();
    EXPECT_EQ(model->discoveryRows()->count(), 0);
    EXPECT_FALSE(model->canSave());
    QSignalSpy counted(model->discoveryRows(), &DiscoveryRowsModel::countChanged);
    see("lena.local");
    EXPECT_EQ(model->discoveryRows()->count(), 1);
    EXPECT_EQ(counted.size(), 1);
}

TEST_F(AddDeviceLists, show_each_phone_with_its_name_host_and_port) {
    see("zoe.local", "Zoe's iPhone");
    see("lena.local");
    open();
    EXPECT_THAT(model->discoveryRows()->rows(),
                ElementsAre(DiscoveryRow{"lena.local", "lena-instance", "lena.local:49152", false},
                            DiscoveryRow{"zoe.local", "Zoe's iPhone", "zoe.local:49152", false}));
}

TEST_F(AddDeviceLists, a_hostile_name_stays_one_plain_line) {
    CapturedBonjourService hostile = service("evil.local");
    hostile.name = "a\nb\x1b[31m";
    coordinator->upsertCapturedService(hostile);
    open();
    EXPECT_EQ(model->discoveryRows()->rows().front().title, "a b\\x1b[31m");
}

TEST_F(AddDeviceLists, the_edited_phone_stays_selectable_while_it_is_not_seen) {
    see("zoe.local");
    edit(save("lena"));
    EXPECT_THAT(model->discoveryRows()->rows(),
                ElementsAre(DiscoveryRow{"zoe.local", "zoe-instance", "zoe.local:49152", false},
                            DiscoveryRow{"lena.local", "lena-instance", "lena.local:49733", true}));
    EXPECT_EQ(model->selectedRow(), "lena.local");
}

TEST_F(AddDeviceLists, the_edited_phone_is_listed_once_while_it_is_seen) {
    see("lena.local");
    edit(save("lena"));
    EXPECT_THAT(model->discoveryRows()->rows(),
                ElementsAre(DiscoveryRow{"lena.local", "lena-instance", "lena.local:49152", false}));
    loseAll();
    EXPECT_THAT(model->discoveryRows()->rows(),
                ElementsAre(DiscoveryRow{"lena.local", "lena-instance", "lena.local:49733", true}));
    EXPECT_EQ(model->selectedRow(), "lena.local");
}

TEST_F(AddDeviceLists, a_chosen_phone_that_goes_is_chosen_again_when_it_returns) {
    see("lena.local");
    open();
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->setDisplayName("Lena");
    model->setSelectedRow("lena.local");
    EXPECT_TRUE(model->canSave());
    loseAll();
    EXPECT_EQ(model->selectedRow(), "");
    EXPECT_FALSE(model->canSave());
    model->save();
    EXPECT_TRUE(model->isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
    see("lena.local");
    EXPECT_EQ(model->selectedRow(), "lena.local");
    EXPECT_TRUE(model->canSave());
}

TEST_F(AddDeviceLists, another_choice_holds_when_the_first_phone_returns) {
    see("lena.local");
    see("zoe.local");
    open();
    model->setSelectedRow("lena.local");
    loseAll();
    see("zoe.local");
    model->setSelectedRow("zoe.local");
    see("lena.local");
    EXPECT_EQ(model->selectedRow(), "zoe.local");
}

TEST_F(AddDeviceLists, peers_begin_with_one_that_stands_for_none) {
    installPeers();
    open();
    EXPECT_THAT(model->peers()->entries(), ElementsAre(PeerEntry{"", "Select", "", false}));
    select("tailscale");
    EXPECT_THAT(model->peers()->entries(),
                ElementsAre(PeerEntry{"", "Select", "", false},
                            PeerEntry{"lena", "lena (online)", "circle.fill", true},
                            PeerEntry{"server", "server (offline)", "circle", false}));
    select("manual");
    EXPECT_THAT(model->peers()->entries(), ElementsAre(PeerEntry{"", "Select", "", false}));
}

TEST_F(AddDeviceLists, peers_follow_the_clients_answers) {
    installPeers(R"({"Peer": {}})");
    open();
    select("tailscale");
    EXPECT_EQ(model->peers()->count(), 1);
    installPeers();
    model->refresh();
    EXPECT_TRUE(until([&] { return model->peers()->count() == 3; }));
}

TEST_F(AddDeviceLists, a_chosen_peer_that_goes_is_chosen_again_when_it_returns) {
    installPeers();
    open();
    select("tailscale");
    model->setSelectedPeer("lena");
    installPeers(R"({"Peer": {}})");
    model->refresh();
    ASSERT_TRUE(until([&] { return model->peers()->count() == 1; }));
    EXPECT_EQ(model->selectedPeer(), "");
    installPeers();
    model->refresh();
    ASSERT_TRUE(until([&] { return model->peers()->count() == 3; }));
    EXPECT_EQ(model->selectedPeer(), "lena");
}

TEST_F(AddDeviceLists, a_failing_client_keeps_the_peers_that_it_listed_last) {
    installPeers();
    open();
    select("tailscale");
    model->setSelectedPeer("lena");
    install("tailscale", "exit 1");
    model->refresh();
    ASSERT_TRUE(until([&] { return !model->refreshing(); }));
    EXPECT_EQ(model->peers()->count(), 3);
    EXPECT_EQ(model->selectedPeer(), "lena");
}

TEST_F(AddDeviceLists, peers_with_one_name_are_all_listed) {
    installPeers(R"({"Peer": {"a": {"HostName": "iPhone", "TailscaleIPs": ["100.64.0.1"]},)"
                 R"( "b": {"HostName": "iPhone", "TailscaleIPs": ["100.64.0.2"], "Online": true}}})");
    open();
    select("tailscale");
    EXPECT_EQ(model->peers()->count(), 3);
    model->setSelectedPeer("iPhone");
    EXPECT_EQ(model->peers()->rowOf(model->selectedPeer()), 1);
}

TEST_F(AddDeviceLists, a_peer_without_a_name_is_left_out) {
    installPeers(R"({"Peer": {"a": {"HostName": "", "TailscaleIPs": ["100.64.0.1"]},)"
                 R"( "b": {"HostName": "lena"}}})");
    open();
    select("tailscale");
    ASSERT_EQ(coordinator->devicesByProviderID().at("tailscale").size(), 2U);
    EXPECT_THAT(model->peers()->entries(), ElementsAre(PeerEntry{"", "Select", "", false},
                                                       PeerEntry{"lena", "lena (offline)", "circle", false}));
}

TEST_F(AddDeviceLists, a_closed_sheet_does_not_follow) {
    open();
    model->cancel();
    see("lena.local");
    installPeers();
    EXPECT_EQ(model->discoveryRows()->count(), 0);
    EXPECT_EQ(model->tiles()->count(), 1);
}

TEST_F(AddDeviceLists, a_chosen_phone_brings_its_name_along) {
    see("lena.local", "Lena's iPhone");
    see("zoe.local", "Zoe's iPhone");
    see("nameless.local");
    open();
    model->setSelectedRow("lena.local");
    EXPECT_EQ(model->displayName(), "Lena's iPhone");
    model->setSelectedRow("zoe.local");
    EXPECT_EQ(model->displayName(), "Zoe's iPhone");
    model->setSelectedRow("nameless.local");
    EXPECT_EQ(model->displayName(), "") << "an instance's name is for computers";
}

TEST_F(AddDeviceLists, a_typed_name_is_never_replaced) {
    see("lena.local", "Lena's iPhone");
    open();
    model->setDisplayName("Mine");
    model->setSelectedRow("lena.local");
    EXPECT_EQ(model->displayName(), "Mine");
}

TEST_F(AddDeviceLists, the_name_of_an_edited_device_is_never_replaced) {
    see("zoe.local", "Zoe's iPhone");
    edit(save("lena"));
    model->setDisplayName("");
    model->setSelectedRow("zoe.local");
    EXPECT_EQ(model->displayName(), "");
}

TEST_F(AddDeviceLists, stay_fast_with_as_many_phones_as_are_held) {
    for (std::size_t i = 0; i < CapturedServices::maxServices; ++i)
        see("phone-" + std::to_string(i) + ".local");
    QElapsedTimer timer;
    timer.start();
    open();
    EXPECT_EQ(model->discoveryRows()->count(), 10'000);
    const auto opened = timer.restart();
    see("phone-1.local", "Lena's iPhone");
    const auto changed = timer.restart();
    model->setSelectedRow("phone-9999.local");
    EXPECT_FALSE(model->canSave());
    const auto chosen = timer.elapsed();
    EXPECT_LT(opened, 2'000);
    EXPECT_LT(changed, 1'000);
    EXPECT_LT(chosen, 1'000);
}

}  // namespace
}  // namespace quillbay
