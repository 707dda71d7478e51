#include "ui/models/AddDeviceModel.h"

#include "ui/AddDeviceFixture.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using AddDevice = AddDeviceFixture;

TEST_F(AddDevice, says_what_adding_is) {
    open();
    EXPECT_EQ(model->title(), "Add Device");
    EXPECT_EQ(model->subtitle(), "Find an iPhone on your local network and pair it with its network peer.");
}

TEST_F(AddDevice, says_what_editing_is) {
    edit(save("lena"));
    EXPECT_EQ(model->title(), "Edit Device");
    EXPECT_EQ(model->subtitle(), "Update this device's name or re-pair it with a different network peer.");
}

TEST_F(AddDevice, starts_empty) {
    installPeers();
    see("lena.local", "Lena's iPhone");
    open();
    EXPECT_TRUE(model->isOpen());
    EXPECT_EQ(model->selectedRow(), "");
    EXPECT_EQ(model->selectedProvider(), "");
    EXPECT_EQ(model->selectedPeer(), "");
    EXPECT_EQ(model->manualIP(), "");
    EXPECT_EQ(model->displayName(), "");
    EXPECT_FALSE(model->isManualEntryMode());
    EXPECT_FALSE(model->showsPeers());
    EXPECT_FALSE(model->canSave());
}

TEST_F(AddDevice, forgets_what_was_entered_when_it_closes) {
    see("lena.local");
    open();
    model->setSelectedRow("lena.local");
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->setDisplayName("Lena");
    model->cancel();
    EXPECT_FALSE(model->isOpen());
    open();
    EXPECT_EQ(model->selectedRow(), "");
    EXPECT_EQ(model->selectedProvider(), "");
    EXPECT_EQ(model->manualIP(), "");
    EXPECT_EQ(model->displayName(), "");
}

TEST_F(AddDevice, starts_with_what_the_edited_device_has) {
    installPeers();
    DeviceProfile lena = profile("lena", 49733);
    lena.displayName = "Lena's iPhone";
    edit(save(lena));
    EXPECT_EQ(model->displayName(), "Lena's iPhone");
    EXPECT_EQ(model->selectedRow(), "lena.local");
    EXPECT_EQ(model->selectedProvider(), "tailscale");
    EXPECT_EQ(model->selectedPeer(), "lena");
    EXPECT_EQ(model->manualIP(), "");
    EXPECT_TRUE(model->showsPeers());
}

TEST_F(AddDevice, starts_with_the_typed_address_of_the_edited_device) {
    for (const char* provider : {"manual", "zerotier"}) {
        DeviceProfile lena = profile("lena", 49733);
        lena.providerID = provider;
        lena.providerHostName = lena.providerIP = "100.64.0.9";
        edit(save(lena));
        EXPECT_EQ(model->selectedProvider(), provider);
        EXPECT_EQ(model->manualIP(), "100.64.0.9");
        EXPECT_EQ(model->selectedPeer(), "");
        model->cancel();
    }
}

TEST_F(AddDevice, looks_for_phones_names_and_peers_when_it_opens) {
    installPeers();
    open();
    EXPECT_THAT(lines(), Contains("Bonjour scan started (_remotepairing._tcp)"));
    EXPECT_EQ(runs("tailscale"), 1);
    EXPECT_TRUE(until([&] { return world.tools.deviceCtlRuns() == 1; }));
}

TEST_F(AddDevice, does_nothing_before_it_is_opened) {
    installPeers();
    turn();
    EXPECT_FALSE(model->isOpen());
    EXPECT_THAT(lines(), Not(Contains("Bonjour scan started (_remotepairing._tcp)")));
    EXPECT_EQ(runs("tailscale"), 0);
    model->save();
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(AddDevice, an_unknown_device_is_not_edited) {
    model->openToEdit("nobody#manual");
    EXPECT_FALSE(model->isOpen());
    EXPECT_EQ(model->title(), "Add Device");
}

TEST_F(AddDevice, an_open_sheet_keeps_what_was_entered) {
    const QString lena = save("lena");
    open();
    model->setDisplayName("Mine");
    model->openToAdd();
    model->openToEdit(lena);
    EXPECT_EQ(model->title(), "Add Device");
    EXPECT_EQ(model->displayName(), "Mine");
}

TEST_F(AddDevice, an_address_is_typed_for_those_that_list_no_peers) {
    struct Case {
        const char* provider;
        bool manual;
        bool peers;
        const char* prompt;
    };
    for (const Case& each : {Case{"manual", true, false, "Manual IP IP address"},
                             Case{"zerotier", true, false, "ZeroTier IP address"},
                             Case{"tailscale", false, true, "Tailscale IP address"},
                             Case{"netbird", false, true, "Netbird IP address"},
                             Case{"Tailscale", false, true, "Device IP address"},
                             Case{"nobody", false, true, "Device IP address"}}) {
        DeviceProfile lena = profile("lena", 49733);
        lena.providerID = each.provider;
        model->openToEdit(save(lena));
        EXPECT_EQ(model->isManualEntryMode(), each.manual) << each.provider;
        EXPECT_EQ(model->showsPeers(), each.peers) << each.provider;
        EXPECT_EQ(model->manualPrompt(), each.prompt);
        model->cancel();
    }
    open();
    EXPECT_FALSE(model->isManualEntryMode()) << "nothing is chosen";
    EXPECT_EQ(model->manualPrompt(), "Device IP address");
}

TEST_F(AddDevice, has_a_tile_for_each_installed_client_and_one_for_an_address) {
    install("netbird", "exit 1");
    install("zerotier", "exit 1");
    installPeers();
    open();
    EXPECT_THAT(model->tiles()->tiles(),
                ElementsAre(ProviderTileInfo{"tailscale", "Tailscale", "provider.mesh"},
                            ProviderTileInfo{"zerotier", "ZeroTier", "provider.star"},
                            ProviderTileInfo{"netbird", "Netbird", "provider.ring"},
                            ProviderTileInfo{"manual", "Manual IP", "keyboard"}));
    EXPECT_FALSE(model->noProviderInstalled());
}

TEST_F(AddDevice, says_when_no_client_is_installed) {
    open();
    EXPECT_TRUE(model->noProviderInstalled());
    EXPECT_THAT(model->tiles()->tiles(), ElementsAre(ProviderTileInfo{"manual", "Manual IP", "keyboard"}));
}

TEST_F(AddDevice, a_client_that_is_installed_meanwhile_gets_its_tile) {
    open();
    QSignalSpy told(model.get(), &AddDeviceModel::providersChanged);
    installPeers();
    EXPECT_FALSE(model->noProviderInstalled());
    EXPECT_EQ(model->tiles()->tileIDAt(0), "tailscale");
    EXPECT_EQ(model->tiles()->rowOf("manual"), 1);
    EXPECT_FALSE(told.isEmpty());
}

TEST_F(AddDevice, shows_why_each_client_failed_in_the_order_of_the_tiles) {
    install("netbird", "echo 'not logged in' >&2; exit 3");
    install("tailscale", "echo nonsense; exit 1");
    open();
    EXPECT_THAT(model->providerErrors(),
                ElementsAre("CLI exited with status 1", "CLI exited with status 3: not logged in"));
}

TEST_F(AddDevice, an_error_goes_when_the_client_answers_again) {
    install("tailscale", "exit 1");
    open();
    EXPECT_THAT(model->providerErrors(), ElementsAre("CLI exited with status 1"));
    installPeers();
    model->refresh();
    EXPECT_TRUE(model->refreshing());
    EXPECT_TRUE(until([&] { return !model->refreshing(); }));
    EXPECT_THAT(model->providerErrors(), IsEmpty());
}

TEST_F(AddDevice, selecting_another_tile_clears_the_chosen_peer) {
    install("netbird", "exit 1");
    installPeers();
    open();
    select("tailscale");
    model->setSelectedPeer("lena");
    EXPECT_EQ(model->selectedPeer(), "lena");
    select("netbird");
    EXPECT_EQ(model->selectedPeer(), "");
    select("tailscale");
    EXPECT_EQ(model->selectedPeer(), "");
}

TEST_F(AddDevice, selecting_a_tile_asks_its_client_for_the_peers) {
    installPeers();
    open();
    EXPECT_EQ(runs("tailscale"), 1);
    select("tailscale");
    EXPECT_EQ(runs("tailscale"), 2);
    select("manual");
    EXPECT_EQ(runs("tailscale"), 2);
}

TEST_F(AddDevice, only_a_tile_can_be_selected) {
    open();
    model->selectProvider("tailscale");
    EXPECT_EQ(model->selectedProvider(), "") << "it is not installed";
    model->selectProvider("manual");
    EXPECT_EQ(model->selectedProvider(), "manual");
}

TEST_F(AddDevice, refresh_looks_for_clients_and_asks_them_all) {
    installPeers();
    open();
    install("netbird", "exit 1");
    model->refresh();
    EXPECT_TRUE(until([&] { return !model->refreshing(); }));
    EXPECT_EQ(runs("tailscale"), 2);
    EXPECT_EQ(runs("netbird"), 1);
}

TEST_F(AddDevice, may_go_while_clients_are_asked) {
    install("tailscale", "sleep 0.2");
    model->openToAdd();
    EXPECT_TRUE(model->refreshing());
    model.reset();
    EXPECT_TRUE(untilQuiet());
}

TEST_F(AddDevice, can_be_saved_with_a_phone_a_name_and_a_peer_or_an_address) {
    installPeers();
    install("zerotier", "exit 1");
    see("lena.local");
    for (const QString row : {"", "lena.local"})
        for (const QString name : {"", "  ", "Lena"})
            for (const QString provider : {"", "manual", "zerotier", "tailscale"})
                for (const QString address : {"", " \t", "100.64.0.9", "\n"})
                    for (const QString peer : {"", "lena"}) {
                        open();
                        model->selectProvider(provider);
                        model->setSelectedRow(row);
                        model->setDisplayName(name);
                        model->setManualIP(address);
                        model->setSelectedPeer(peer);
                        const bool manual = provider == "manual" || provider == "zerotier";
                        const bool reachable = manual ? address == "100.64.0.9" || address == "\n"
                                                      : provider == "tailscale" && peer == "lena";
                        EXPECT_EQ(model->canSave(), row == "lena.local" && name != "" && reachable)
                            << row.toStdString() << "|" << name.toStdString() << "|" << provider.toStdString()
                            << "|" << address.toStdString() << "|" << peer.toStdString();
                        model->cancel();
                    }
}

TEST_F(AddDevice, a_name_of_blanks_is_enough_to_add_and_not_to_edit) {
    see("lena.local");
    const QString known = save("known");
    open();
    model->setSelectedRow("lena.local");
    model->selectProvider("manual");
    model->setManualIP("100.64.0.9");
    model->setDisplayName(" ");
    EXPECT_TRUE(model->canSave());
    model->cancel();

    edit(known);
    for (const QString blank : {"", " ", "\t \n\r\n", "\u00A0\u2028"}) {
        model->setDisplayName(blank);
        EXPECT_FALSE(model->canSave());
    }
}

TEST_F(AddDevice, editing_needs_nothing_but_a_name) {
    DeviceProfile lena = profile("lena", 49733);
    lena.providerID = "nobody";
    edit(save(lena));
    model->setSelectedRow("");
    EXPECT_TRUE(model->canSave());
    model->setDisplayName(" x ");
    EXPECT_TRUE(model->canSave());
    model->selectProvider("manual");
    EXPECT_TRUE(model->canSave()) << "without an address";
}

}  // namespace
}  // namespace quillbay
