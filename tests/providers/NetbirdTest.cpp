#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/JSONValue.h"
#include "providers/NetbirdAdapter.h"
#include "providers/ScriptedClient.h"

namespace quillbay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Case = MeshVPNProviderError::Case;

// The form that `netbird status --json` has, shortened.
constexpr const char* document = R"({
  "peers": {"total": 2, "connected": 1, "details": [
    {"fqdn": "iphone.netbird.cloud", "netbirdIp": "100.92.1.7", "publicKey": "k1=", "status": "Connected",
     "lastStatusUpdate": "2026-11-19T20:00:00Z", "connectionType": "P2P", "latency": 31000000, "networks": null},
    {"fqdn": "server.office.netbird.cloud", "netbirdIp": "100.92.1.3/16", "status": "Connecting", "direct": false}
  ]},
  "cliVersion": "0.36.5", "daemonVersion": "0.36.5", "management": {"connected": true, "error": ""},
  "netbirdIp": "100.92.1.1/16", "fqdn": "this-mac.netbird.cloud", "quantumResistance": false})";

std::vector<MeshVPNDevice> list(const std::string& path) {
    return NetbirdAdapter(path, isExecutableFile).listDevices(StopToken());
}

std::vector<MeshVPNDevice> decodePeer(const std::string& peer) {
    return decodeNetbirdStatus("{\"peers\": {\"details\": [" + peer + "]}}");
}

TEST(NetbirdStatus, reads_the_peers_in_the_documents_order) {
    EXPECT_THAT(decodeNetbirdStatus(document), ElementsAre(MeshVPNDevice{"iphone", {"100.92.1.7"}, true},
                                                           MeshVPNDevice{"server", {"100.92.1.3"}, false}));
}

TEST(NetbirdStatus, names_a_peer_by_the_first_label_of_its_domain_name) {
    const auto nameFor = [](const std::string& fqdn) {
        return decodePeer("{\"fqdn\": \"" + fqdn + "\"}").at(0).hostName;
    };
    EXPECT_EQ(nameFor("phone.a.b.c"), "phone");
    EXPECT_EQ(nameFor("phone"), "phone");
    EXPECT_EQ(nameFor("phone."), "phone");
    EXPECT_EQ(nameFor("..phone..x"), "phone");
}

TEST(NetbirdStatus, calls_a_peer_without_a_domain_name_unknown) {
    for (const char* peer :
         {"{}", R"({"fqdn": null})", R"({"fqdn": ""})", R"({"fqdn": "."})", R"({"fqdn": "..."})"}) {
        EXPECT_THAT(decodePeer(peer), ElementsAre(MeshVPNDevice{"unknown", {}, false})) << peer;
    }
}

TEST(NetbirdStatus, takes_only_the_exact_word_for_connected) {
    for (const char* status : {"connected", "CONNECTED", "Connected ", "Disconnected", ""}) {
        EXPECT_FALSE(decodePeer("{\"status\": \"" + std::string(status) + "\"}").at(0).online) << status;
    }
    EXPECT_TRUE(decodePeer(R"({"status": "Connected"})").at(0).online);
    EXPECT_FALSE(decodePeer("{}").at(0).online);
}

TEST(NetbirdStatus, strips_the_length_of_the_prefix_from_an_address) {
    EXPECT_THAT(decodePeer(R"({"netbirdIp": "100.92.1.3/16"})").at(0).ipAddresses, ElementsAre("100.92.1.3"));
    EXPECT_THAT(decodePeer(R"({"netbirdIp": "100.92.1.3"})").at(0).ipAddresses, ElementsAre("100.92.1.3"));
    EXPECT_THAT(decodePeer(R"({"netbirdIp": ""})").at(0).ipAddresses, IsEmpty());
    EXPECT_THAT(decodePeer(R"({"netbirdIp": "/16"})").at(0).ipAddresses, IsEmpty());
    EXPECT_THAT(decodePeer(R"({"netbirdIp": null})").at(0).ipAddresses, IsEmpty());
}

TEST(NetbirdStatus, is_empty_without_peers) {
    for (const char* empty :
         {"{}", R"({"peers": null})", R"({"peers": {}})", R"({"peers": {"details": null}})",
          R"({"peers": {"total": 0, "details": []}})"}) {
        EXPECT_THAT(decodeNetbirdStatus(empty), IsEmpty()) << empty;
    }
}

TEST(NetbirdStatus, refuses_members_of_a_wrong_type) {
    for (const char* wrong : {"[]", "null", R"({"peers": []})", R"({"peers": {"details": {}}})",
                              R"({"peers": {"details": [null]}})", R"({"peers": {"details": ["x"]}})",
                              R"({"peers": {"details": [{"fqdn": 1}]}})",
                              R"({"peers": {"details": [{"netbirdIp": ["100.92.1.3"]}]}})",
                              R"({"peers": {"details": [{"status": true}]}})"}) {
        EXPECT_THROW(decodeNetbirdStatus(wrong), JSONError) << wrong;
    }
}

TEST(NetbirdAdapter, lists_the_peers_that_its_client_prints) {
    EXPECT_THAT(list(ScriptedClient(document).path()),
                ElementsAre(MeshVPNDevice{"iphone", {"100.92.1.7"}, true},
                            MeshVPNDevice{"server", {"100.92.1.3"}, false}));
}

TEST(NetbirdAdapter, runs_its_client_with_exactly_two_arguments) {
    const fakes::TemporaryFolder folder;
    const std::string path = folder.path() / "netbird";
    std::ofstream(path) << R"(#!/bin/sh
printf '{"peers": {"details": [{"fqdn": "%s"}, {"fqdn": "%s"}, {"fqdn": "%s"}]}}' "$#" "$1" "$2")";
    ::chmod(path.c_str(), 0700);
    EXPECT_THAT(list(path), ElementsAre(MeshVPNDevice{"2", {}, false}, MeshVPNDevice{"status", {}, false},
                                        MeshVPNDevice{"--json", {}, false}));
}

TEST(NetbirdAdapter, fails_as_its_client_does) {
    const auto errorOf = [](const std::string& path) { return providerErrorOf([&] { list(path); }); };
    EXPECT_EQ(errorOf(toolPath("client-that-does-not-exist")).errorCase(), Case::binaryNotFound);
    EXPECT_EQ(errorOf(toolPath("client-not-executable")).errorCase(), Case::binaryNotFound);
    EXPECT_STREQ(errorOf(toolPath("client-fails")).what(),
                 "CLI exited with status 1: failed to connect to the local daemon");
    EXPECT_EQ(errorOf(toolPath("client-only-errors")).errorCase(), Case::decodingFailed);
    EXPECT_EQ(errorOf(ScriptedClient("Daemon status: NeedsLogin\n").path()).errorCase(),
              Case::decodingFailed);
}

TEST(NetbirdAdapter, ignores_warnings_on_standard_error) {
    EXPECT_THAT(list(toolPath("client-warns")), ElementsAre(MeshVPNDevice{"phone", {}, false}));
}

}  // namespace
}  // namespace quillbay
