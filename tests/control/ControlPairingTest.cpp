#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "control/ControlFixture.h"
#include "fakes/FullDisk.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ControlPairingTest : public ControlFixture {
 protected:
    void serveWithPhone() {
        serve();
        discover({phone("Mirel", "iPhone.local")});
    }

    /// What a pairing of that phone stores.
    static DeviceProfile paired(const std::string& provider, const std::string& host, const std::string& ip) {
        DeviceProfile made = DeviceProfile::draft("mine");
        made.bonjourName = "Mirel";
        made.bonjourHost = "iPhone.local";
        made.remotePairingPort = 49152;
        made.providerID = provider;
        made.providerHostName = host;
        made.providerIP = ip;
        made.txtRecord = {{"identifier", "ABC"}, {"ver", "24"}};
        return made;
    }
};

TEST_F(ControlPairingTest, pairs_with_a_peer) {
    serveWithPhone();
    usePeers({R"({"HostName":"other","TailscaleIPs":["100.64.0.8"]})",
              R"({"HostName":"phone","TailscaleIPs":["100.64.0.7","fd7a::7"]})"});
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":" mine ","provider":"tailscale","peer":"phone"})"),
        R"({"id":"iPhone.local#tailscale"})");
    EXPECT_THAT(stored(), ElementsAre(paired("tailscale", "phone", "100.64.0.7")));
    EXPECT_EQ(coordinator->logs().userLines().back(), "Device \"mine\" added.");
}

TEST_F(ControlPairingTest, pairs_with_an_address) {
    serveWithPhone();
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":" 100.64.0.9 "})"),
              R"({"id":"iPhone.local#manual"})");
    EXPECT_THAT(stored(), ElementsAre(paired("manual", "100.64.0.9", "100.64.0.9")));
}

TEST_F(ControlPairingTest, a_pairing_that_the_disk_does_not_take_is_refused) {
    serveWithPhone();
    {
        const fakes::FullDisk full;
        EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"100.64.0.9"})"),
                  R"({"error":"The change could not be saved. Is there room on the disk?"})");
    }
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, pairs_with_an_address_in_a_providers_network) {
    serveWithPhone();
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"10.1.1.1","provider":"zerotier"})"),
        R"({"id":"iPhone.local#zerotier"})");
    EXPECT_THAT(stored(), ElementsAre(paired("zerotier", "10.1.1.1", "10.1.1.1")));
}

TEST_F(ControlPairingTest, an_address_may_be_a_host_name) {
    serveWithPhone();
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"phone.example"})"),
              R"({"id":"iPhone.local#manual"})");
}

TEST_F(ControlPairingTest, a_phone_is_named_by_its_host_or_its_name_in_any_case) {
    serveWithPhone();
    const std::string answer = R"({"id":"iPhone.local#manual"})";
    EXPECT_EQ(ask(R"({"command":"pair","host":"IPHONE.LOCAL","name":"mine","address":"1.2.3.4"})"), answer);
    EXPECT_EQ(ask(R"({"command":"pair","host":"mirel","name":"mine","address":"1.2.3.4"})"), answer);
}

TEST_F(ControlPairingTest, a_name_that_fits_several_phones_is_refused_with_the_hosts) {
    serve();
    discover({phone("Mirel", "a.local"), phone("mirel", "b.local")});
    EXPECT_EQ(ask(R"({"command":"pair","host":"Mirel","name":"mine","address":"1.2.3.4"})"),
              R"({"error":"\"Mirel\" fits several phones, name one by its host: a.local, b.local."})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, a_phone_that_is_not_there_is_refused) {
    serveWithPhone();
    EXPECT_EQ(ask(R"({"command":"pair","host":"x","name":"mine","address":"1.2.3.4"})"),
              R"({"error":"There is no phone \"x\" on the local network."})");
}

TEST_F(ControlPairingTest, the_first_pairing_waits_for_the_discovery) {
    serve();
    auto pairing = client();
    ASSERT_TRUE(
        pairing.send(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"1.2.3.4"})"));
    ASSERT_TRUE(world.until([&] { return coordinator->discoveryStarted().has_value(); }));
    coordinator->upsertCapturedService(phone("Mirel", "iPhone.local"));
    world.settle();
    EXPECT_FALSE(pairing.hasReceived());
    world.advance(std::chrono::seconds(2));
    EXPECT_EQ(pairing.receive(), R"({"id":"iPhone.local#manual"})");
}

TEST_F(ControlPairingTest, a_peer_that_is_not_listed_is_refused) {
    serveWithPhone();
    usePeers({R"({"HostName":"phone","TailscaleIPs":["100.64.0.7"]})"});
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"tailscale","peer":"Phone"})"),
        R"({"error":"Tailscale lists no peer \"Phone\"."})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, a_peer_without_an_address_is_refused) {
    serveWithPhone();
    usePeers({R"({"HostName":"phone"})"});
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"tailscale","peer":"phone"})"),
        R"({"error":"Tailscale lists no address for the peer \"phone\"."})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, a_peers_name_that_several_have_is_refused_with_their_addresses) {
    serveWithPhone();
    usePeers({R"({"HostName":"phone","TailscaleIPs":["100.64.0.7"]})", R"({"HostName":"phone"})"});
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"tailscale","peer":"phone"})"),
        R"({"error":"Tailscale lists several peers \"phone\", give an address of one of them: )"
        R"(100.64.0.7, none."})");
}

TEST_F(ControlPairingTest, a_failing_client_is_the_refusal) {
    serveWithPhone();
    coordinator->setBinaryPath("/nowhere/tailscale", "tailscale");
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"tailscale","peer":"phone"})"),
        R"({"error":"CLI not found at the configured path — check the path in Settings."})");
}

TEST_F(ControlPairingTest, an_unknown_provider_is_refused) {
    serveWithPhone();
    const std::string refusal =
        R"({"error":"There is no provider \"x\". Known are: tailscale, zerotier, netbird."})";
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"x","peer":"p"})"),
              refusal);
    EXPECT_EQ(
        ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"x","address":"1.2.3.4"})"),
        refusal);
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","provider":"manual","peer":"p"})"),
              R"({"error":"There is no provider \"manual\". Known are: tailscale, zerotier, netbird."})");
}

TEST_F(ControlPairingTest, an_empty_name_and_an_empty_address_are_refused) {
    serveWithPhone();
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":" \t\n","address":"1.2.3.4"})"),
              R"({"error":"The name is empty."})");
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"  "})"),
              R"({"error":"The address is empty."})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, an_address_with_control_characters_is_refused) {
    serveWithPhone();
    for (const char* address : {"1.2.3.4\\n", "1.2.3.4\\nforged", "1.2.3.4\\u0000", "1.2.3.4\\u009b"})
        EXPECT_EQ(ask(std::string(R"({"command":"pair","host":"iPhone.local","name":"mine","address":")") +
                      address + "\"}"),
                  R"({"error":"An address must not contain control characters."})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlPairingTest, pairing_again_takes_the_record_and_keeps_what_is_not_about_the_pairing) {
    DeviceProfile before = paired("manual", "1.2.3.4", "1.2.3.4");
    before.displayName = "old";
    before.remotePairingPort = 50001;
    before.tunnelPortRangeStart = 40001;
    before.tunnelPortRangeEnd = 40002;
    before.bridgeEnabled = true;
    before.txtRecord.clear();
    serve({before});
    discover({phone("Mirel", "iPhone.local")});
    EXPECT_EQ(ask(R"({"command":"pair","host":"iPhone.local","name":"mine","address":"5.6.7.8"})"),
              R"({"id":"iPhone.local#manual"})");
    DeviceProfile after = paired("manual", "5.6.7.8", "5.6.7.8");
    after.tunnelPortRangeStart = 40001;
    after.tunnelPortRangeEnd = 40002;
    after.bridgeEnabled = true;
    EXPECT_THAT(stored(), ElementsAre(after));
    EXPECT_EQ(coordinator->logs().userLines().back(), "Device \"mine\" updated.");
}

}  // namespace
}  // namespace quillbay
