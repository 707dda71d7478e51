#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/JSONValue.h"
#include "providers/ScriptedClient.h"
#include "providers/TailscaleAdapter.h"

namespace quillbay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Case = MeshVPNProviderError::Case;

// The form that `tailscale status --json` has, shortened.
constexpr const char* document = R"({
  "Version": "1.76.6-t1edcf9d46", "TUN": true, "BackendState": "Running", "HaveNodeKey": true, "AuthURL": "",
  "TailscaleIPs": ["100.101.102.103", "fd7a:115c:a1e0::1"],
  "Self": {"ID": "n1", "HostName": "this-mac", "DNSName": "this-mac.tail0.ts.net.", "Online": true,
           "TailscaleIPs": ["100.101.102.103"]},
  "Health": [], "MagicDNSSuffix": "tail0.ts.net",
  "CurrentTailnet": {"Name": "user@host.example", "MagicDNSEnabled": true},
  "Peer": {
    "nodekey:zz": {"ID": "n2", "HostName": "iPhone", "DNSName": "iphone.tail0.ts.net.", "OS": "iOS", "UserID": 1,
      "TailscaleIPs": ["100.64.0.7", "fd7a:115c:a1e0::7"], "AllowedIPs": ["100.64.0.7/32"], "Addrs": null,
      "RxBytes": 0, "LastSeen": "2026-11-19T20:00:00.1Z", "Online": true, "ExitNode": false, "Active": false},
    "nodekey:aa": {"ID": "n3", "HostName": "server", "DNSName": "server.tail0.ts.net.", "OS": "linux",
      "TailscaleIPs": ["100.64.0.3"], "Online": false}
  },
  "User": {"1": {"ID": 1, "LoginName": "user@host.example"}}, "ClientVersion": null})";

std::vector<MeshVPNDevice> list(const std::string& path) {
    return TailscaleAdapter(path, isExecutableFile).listDevices(StopToken());
}

TEST(TailscaleStatus, reads_the_peers_in_the_documents_order) {
    EXPECT_THAT(decodeTailscaleStatus(document),
                ElementsAre(TailscaleDevice{.hostName = "iPhone",
                                            .tailscaleIPs = {"100.64.0.7", "fd7a:115c:a1e0::7"},
                                            .online = true,
                                            .dnsName = "iphone.tail0.ts.net."},
                            TailscaleDevice{.hostName = "server",
                                            .tailscaleIPs = {"100.64.0.3"},
                                            .online = false,
                                            .dnsName = "server.tail0.ts.net."}));
}

TEST(TailscaleStatus, is_empty_without_peers) {
    EXPECT_THAT(decodeTailscaleStatus("{}"), IsEmpty());
    EXPECT_THAT(decodeTailscaleStatus(R"({"BackendState": "NeedsLogin", "Peer": null})"), IsEmpty());
    EXPECT_THAT(decodeTailscaleStatus(R"({"Peer": {}})"), IsEmpty());
}

TEST(TailscaleStatus, reads_missing_and_null_members_as_empty) {
    EXPECT_THAT(decodeTailscaleStatus(R"({"Peer": {"k": {}}})"), ElementsAre(TailscaleDevice{}));
    EXPECT_THAT(
        decodeTailscaleStatus(
            R"({"Peer": {"k": {"HostName": null, "DNSName": null, "TailscaleIPs": null, "Online": null}}})"),
        ElementsAre(TailscaleDevice{}));
}

TEST(TailscaleStatus, refuses_members_of_a_wrong_type) {
    for (const char* wrong :
         {"[]", "null", "\"text\"", R"({"Peer": []})", R"({"Peer": "x"})", R"({"Peer": {"k": []}})",
          R"({"Peer": {"k": null}})", R"({"Peer": {"k": {"HostName": 1}}})",
          R"({"Peer": {"k": {"DNSName": {}}}})", R"({"Peer": {"k": {"TailscaleIPs": "100.64.0.1"}}})",
          R"({"Peer": {"k": {"TailscaleIPs": [1]}}})", R"({"Peer": {"k": {"TailscaleIPs": [null]}}})",
          R"({"Peer": {"k": {"Online": "true"}}})", R"({"Peer": {"k": {"Online": 1}}})"}) {
        EXPECT_THROW(decodeTailscaleStatus(wrong), JSONError) << wrong;
    }
}

TEST(TailscaleStatus, says_what_is_wrong_with_a_document) {
    const auto textFor = [](const std::string& text) -> std::string {
        try {
            decodeTailscaleStatus(text);
        } catch (const JSONError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(textFor("Tailscale is stopped."), "the text is not valid JSON (at byte 1)");
    EXPECT_EQ(textFor(R"({"Peer": {"k": {"HostName": 1}}})"), "\"HostName\" is not a string");
    EXPECT_EQ(textFor(R"({"Peer": []})"), "\"Peer\" is not an object");
    EXPECT_EQ(textFor("[]"), "what should hold \"Peer\" is not an object");
    EXPECT_EQ(textFor(std::string(100'000, '[')), "the JSON is nested more than 64 levels deep");
}

TEST(TailscaleStatus, counts_the_last_value_of_a_peer_that_occurs_twice) {
    EXPECT_THAT(decodeTailscaleStatus(R"({"Peer": {"a": {"HostName": "old"}, "b": {"HostName": "other"},
                                                   "a": {"HostName": "new"}}})"),
                ElementsAre(TailscaleDevice{.hostName = "new", .tailscaleIPs = {}, .dnsName = ""},
                            TailscaleDevice{.hostName = "other", .tailscaleIPs = {}, .dnsName = ""}));
}

TEST(TailscaleStatus, reads_a_very_large_network_in_linear_time) {
    std::string text = R"({"Peer": {"first": {})";
    for (int i = 0; i < 200'000; ++i)
        text += ",\"nodekey:" + std::to_string(i) + "\":{\"HostName\":\"h\"}";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(decodeTailscaleStatus(text + "}}").size(), 200'001U);
    // A quadratic reader takes minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(TailscaleAdapter, lists_the_peers_that_its_client_prints) {
    EXPECT_THAT(list(ScriptedClient(document).path()),
                ElementsAre(MeshVPNDevice{"iPhone", {"100.64.0.7", "fd7a:115c:a1e0::7"}, true},
                            MeshVPNDevice{"server", {"100.64.0.3"}, false}));
}

TEST(TailscaleAdapter, runs_its_client_with_exactly_two_arguments_and_no_input) {
    EXPECT_THAT(list(toolPath("client-echoes-arguments")),
                ElementsAre(MeshVPNDevice{"2", {}, false}, MeshVPNDevice{"status", {}, false},
                            MeshVPNDevice{"--json", {}, false}, MeshVPNDevice{"", {}, false}));
}

TEST(TailscaleAdapter, lists_nothing_for_a_document_without_peers) {
    EXPECT_THAT(list(ScriptedClient(R"({"BackendState": "Running"})").path()), IsEmpty());
}

TEST(TailscaleAdapter, ignores_warnings_on_standard_error) {
    EXPECT_THAT(list(toolPath("client-warns")), ElementsAre(MeshVPNDevice{"phone", {}, false}));
}

TEST(TailscaleAdapter, cannot_find_a_client_that_is_no_executable_file) {
    for (const std::string& path : {toolPath("client-that-does-not-exist"), toolPath("client-not-executable"),
                                    std::string(QUILLBAY_TEST_TOOLS), std::string()}) {
        EXPECT_EQ(providerErrorOf([&] { list(path); }).errorCase(), Case::binaryNotFound) << path;
    }
}

TEST(TailscaleAdapter, reports_a_client_that_fails) {
    EXPECT_STREQ(providerErrorOf([&] { list(toolPath("client-fails")); }).what(),
                 "CLI exited with status 1: failed to connect to the local daemon");
    EXPECT_STREQ(providerErrorOf([&] { list(toolPath("client-fails-silently")); }).what(),
                 "CLI exited with status 7");
}

TEST(TailscaleAdapter, reports_output_that_is_not_json) {
    for (const char* output : {"Tailscale is stopped.", "{\"Peer\": {", "{} {}"}) {
        EXPECT_EQ(providerErrorOf([&] { list(ScriptedClient(output).path()); }).errorCase(),
                  Case::decodingFailed)
            << output;
    }
    EXPECT_EQ(providerErrorOf([&] { list(toolPath("client-only-errors")); }).errorCase(),
              Case::decodingFailed);
    EXPECT_STREQ(providerErrorOf([&] { list(ScriptedClient("no").path()); }).what(),
                 "Couldn't parse the CLI's output: the text is not valid JSON (at byte 2)");
}

TEST(TailscaleAdapter, uses_a_new_path_from_the_next_listing_on) {
    const ScriptedClient client(R"({"Peer": {"k": {"HostName": "phone"}}})");
    TailscaleAdapter adapter("/nowhere", isExecutableFile);
    EXPECT_THROW(static_cast<void>(adapter.listDevices(StopToken())), MeshVPNProviderError);
    adapter.setBinaryPath(client.path());
    EXPECT_THAT(adapter.listDevices(StopToken()), ElementsAre(MeshVPNDevice{"phone", {}, false}));
}

}  // namespace
}  // namespace quillbay
