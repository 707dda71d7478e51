#include "ctl/DocumentText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace quillbay::ctl {
namespace {

using Kind = ShownDocument::Kind;

// 2026-01-31T14:05:12Z
constexpr std::chrono::system_clock::time_point now{std::chrono::seconds(1'769'868'312)};

ShownDocument show(std::string_view command, std::string_view document, Style style = {}) {
    return showDocument(command, document, style, now);
}

TEST(CtlDocumentText, status_is_a_table) {
    const ShownDocument shown = show(
        "status",
        R"({"version":"1.2.3","localIP":"192.168.77.1","overall":"on","profiles":[)"
        R"({"id":"i","displayName":"Mirel’s","bonjourHost":"iPhone.local","providerID":"tailscale",)"
        R"("providerIP":"100.64.77.2","remotePairingPort":49152,"bridgeEnabled":true,)"
        R"("status":{"state":"on","message":null}},)"
        R"({"id":"j","displayName":"other","bonjourHost":"b.local","providerID":null,"providerIP":"",)"
        R"("remotePairingPort":0,"bridgeEnabled":null,"status":{"state":"error","message":"Not there."}}]})");
    EXPECT_EQ(shown.kind, Kind::last);
    EXPECT_EQ(shown.text,
              "Quillbay 1.2.3: on\n"
              "Address on the local network: 192.168.77.1\n"
              "\n"
              "NAME     HOST          PROVIDER   ADDRESS      PORT   WANTED  BRIDGE\n"
              "Mirel’s  iPhone.local  tailscale  100.64.77.2  49152  yes     on\n"
              "other    b.local       -                       0      no      error: Not there.\n");
}

TEST(CtlDocumentText, status_without_profiles_says_so) {
    EXPECT_EQ(show("status", R"({"version":"1.2.3","localIP":null,"overall":"off","profiles":[]})").text,
              "Quillbay 1.2.3: off\nAddress on the local network: none\n\nNo phone is paired.\n");
}

TEST(CtlDocumentText, phones_show_their_age_and_their_record) {
    EXPECT_EQ(
        show("phones", R"({"phones":[{"name":"Mirel","host":"iPhone.local","port":49152,)"
                       R"("txt":{"identifier":"ABC","ver":"24"},"lastSeen":"2026-01-31T14:05:09Z",)"
                       R"("resolvedDeviceName":"Mirel's iPhone"},)"
                       R"({"name":"b","host":"b.local","port":1,"txt":{},"lastSeen":"2026-01-31T14:05:12Z",)"
                       R"("resolvedDeviceName":null}]})")
            .text,
        "NAME   HOST          PORT   SEEN     DEVICE          TXT\n"
        "Mirel  iPhone.local  49152  3 s ago  Mirel's iPhone  identifier=ABC ver=24\n"
        "b      b.local       1      0 s ago  -\n");
    EXPECT_EQ(show("phones", R"({"phones":[]})").text, "There is no phone on the local network.\n");
}

TEST(CtlDocumentText, providers_and_peers_are_tables) {
    EXPECT_EQ(
        show("providers", R"({"providers":[{"id":"tailscale","displayName":"Tailscale","installed":true,)"
                          R"("binaryPath":"/usr/bin/tailscale","supportsDeviceDiscovery":true},)"
                          R"({"id":"zerotier","displayName":"ZeroTier","installed":false,)"
                          R"("binaryPath":"/usr/sbin/zerotier-cli","supportsDeviceDiscovery":false}]})")
            .text,
        "ID         NAME       INSTALLED  LISTS PEERS  TOOL\n"
        "tailscale  Tailscale  yes        yes          /usr/bin/tailscale\n"
        "zerotier   ZeroTier   no         no           /usr/sbin/zerotier-cli\n");
    EXPECT_EQ(show("peers", R"({"provider":"tailscale","peers":[{"hostName":"phone",)"
                            R"("ipAddresses":["100.64.0.7","fd7a::7"],"online":true},)"
                            R"({"hostName":"old","ipAddresses":[],"online":false}]})")
                  .text,
              "NAME   STATE    ADDRESSES\n"
              "phone  online   100.64.0.7, fd7a::7\n"
              "old    offline  -\n");
    EXPECT_EQ(show("peers", R"({"provider":"netbird","peers":[]})").text, "netbird lists no peers.\n");
}

TEST(CtlDocumentText, settings_are_a_table_and_what_was_refused) {
    EXPECT_EQ(
        show("settings", R"({"onlyThisComputer":false,"refusedConnections":0,"refusedDatagrams":0})").text,
        "SETTING                                VALUE\n"
        "Only this computer may use the bridge  off\n"
        "\n"
        "Refused to others: 0 connections, 0 datagrams\n");
    EXPECT_EQ(
        show("settings", R"({"onlyThisComputer":true,"refusedConnections":1,"refusedDatagrams":12345})").text,
        "SETTING                                VALUE\n"
        "Only this computer may use the bridge  on\n"
        "\n"
        "Refused to others: 1 connection, 12,345 datagrams\n");
}

TEST(CtlDocumentText, a_scan_shows_how_far_it_is_and_what_it_gave) {
    EXPECT_EQ(show("scan", R"({"probed":4711,"of":16384})"),
              (ShownDocument{Kind::progress, "4,711 of 16,384 ports probed"}));
    EXPECT_EQ(show("scan", R"({"port":49200,"openButSilent":[],"probed":50,"of":16384})"),
              (ShownDocument{Kind::last, "The phone answers on port 49200 (50 of 16,384 ports probed).\n"}));
    EXPECT_EQ(show("scan", R"({"port":null,"openButSilent":[],"probed":16384,"of":16384})"),
              (ShownDocument{Kind::last,
                             "The phone's port was not found: nothing answered (16,384 of 16,384 "
                             "ports probed).\n"}));
    EXPECT_EQ(show("scan", R"({"port":null,"openButSilent":[50000,50001],"probed":1000000,"of":1000000})"),
              (ShownDocument{Kind::last,
                             "The phone's port was not found: open, but of no use are 50000, 50001 "
                             "(1,000,000 of 1,000,000 ports probed).\n"}));
}

TEST(CtlDocumentText, a_log_is_its_lines) {
    EXPECT_EQ(show("log", R"({"line":"Bridge is successful."})"),
              (ShownDocument{Kind::more, "Bridge is successful.\n"}));
    EXPECT_EQ(show("log", "{}"), (ShownDocument{Kind::last, ""}));
}

TEST(CtlDocumentText, what_was_done_is_said_with_the_id) {
    EXPECT_EQ(show("pair", R"({"id":"a#b"})").text, "Paired: a#b\n");
    EXPECT_EQ(show("start", R"({"id":"a#b"})").text, "Starting: a#b\n");
    EXPECT_EQ(show("stop", R"({"id":"a#b"})").text, "Stopped: a#b\n");
    EXPECT_EQ(show("rename", R"({"id":"a#b"})").text, "Renamed: a#b\n");
    EXPECT_EQ(show("remove", R"({"id":"a#b"})").text, "Removed: a#b\n");
    EXPECT_EQ(show("report", R"({"path":"/tmp/a.zip"})").text, "Written: /tmp/a.zip\n");
}

TEST(CtlDocumentText, a_refusal_is_its_sentence_on_one_line) {
    EXPECT_EQ(show("status", R"({"error":"No.\n"})"), (ShownDocument{Kind::refused, "No."}));
    EXPECT_EQ(show("scan", "{\"error\":\"a\\u001b[31m\\nb\"}"),
              (ShownDocument{Kind::refused, "a\\x1b[31m\\nb"}));
}

TEST(CtlDocumentText, what_makes_no_sense_is_said_to_make_none) {
    for (const char* document :
         {"", "nonsense", "[]", "7", "{}", R"({"profiles":7})", R"({"error":7})", "{\"version\":\"\xff\"}"})
        EXPECT_THROW(show("status", document), UnexpectedDocument) << document;
    EXPECT_THROW(show("fly", "{}"), UnexpectedDocument);
    EXPECT_THROW(show("scan", R"({"probed":-1,"of":"x"})"), UnexpectedDocument);
}

TEST(CtlDocumentText, nothing_from_the_network_reaches_the_terminal_raw) {
    const std::string text =
        show("phones",
             "{\"phones\":[{\"name\":\"\\u001b[2J\\nx\",\"host\":\"a\\u009b\",\"port\":1,"
             "\"txt\":{\"k\\u0007\":\"\\u202e\"},\"lastSeen\":\"\\u001b\",\"resolvedDeviceName\":\"\\u0000\"}"
             "]}")
            .text;
    EXPECT_EQ(text,
              "NAME        HOST   PORT  SEEN  DEVICE  TXT\n"
              "\\x1b[2J\\nx  a\\x9b  1     \\x1b  \\x00    k\\x07=\\u{202e}\n");
}

TEST(CtlDocumentText, colours_are_shown_where_they_may_be) {
    const std::string status =
        R"({"version":"1","localIP":null,"overall":"on","profiles":[{"id":"i","displayName":"n",)"
        R"("bonjourHost":"h","providerID":"p","providerIP":"a","remotePairingPort":1,"bridgeEnabled":true,)"
        R"("status":{"state":"on","message":null}}]})";
    const std::string coloured = show("status", status, Style{true}).text;
    EXPECT_NE(coloured.find("\x1b[32mon\x1b[0m\n"), std::string::npos);
    EXPECT_NE(coloured.find("\x1b[1mNAME\x1b[0m  "), std::string::npos);
    EXPECT_EQ(show("status", status).text.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace quillbay::ctl
