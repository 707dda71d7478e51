// Whole networks, of the size and the variety that real ones have, through a real client's output.

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "providers/NetbirdAdapter.h"
#include "providers/ScriptedClient.h"
#include "providers/TailscaleAdapter.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int peers = 5'000;

/// What a peer is like, in turn: both kinds of address, only an old one, only a new one, none.
constexpr int kinds = 4;

std::string tailscaleAddresses(int peer) {
    const std::string v4 = fmt::format("\"100.{}.{}.{}\"", 64 + peer / 65536, peer / 256 % 256, peer % 256);
    const std::string v6 = fmt::format("\"fd7a:115c:a1e0::{:x}\"", peer);
    switch (peer % kinds) {
        case 0:
            return "[" + v4 + "," + v6 + "]";
        case 1:
            return "[" + v4 + "]";
        case 2:
            return "[" + v6 + "]";
        default:
            return "null";
    }
}

std::string tailscaleNetwork() {
    std::string all;
    for (int peer = 0; peer < peers; ++peer)
        all += fmt::format(
            R"({}"nodekey:{:064x}":{{"ID":"n{}","PublicKey":"nodekey:{:064x}","HostName":"host-{}",)"
            R"("DNSName":"host-{}.tail0.ts.net.","OS":"iOS","UserID":1,"TailscaleIPs":{},"Addrs":null,)"
            R"("CurAddr":"","Relay":"fra","RxBytes":0,"TxBytes":0,"Created":"2026-01-01T00:00:00Z",)"
            R"("Online":{},"ExitNode":false,"PeerAPIURL":["http://100.64.0.1:1"],"InEngine":false}})",
            peer == 0 ? "" : ",", peer, peer, peer, peer, peer, tailscaleAddresses(peer), peer % 3 == 0);
    return R"({"Version":"1.76.6","BackendState":"Running","Self":{"HostName":"this-mac","Online":true},)"
           R"("Peer":{)" +
           all + R"(},"User":{"1":{"ID":1}}})";
}

std::string netbirdNetwork() {
    std::string all;
    for (int peer = 0; peer < peers; ++peer) {
        const std::string address =
            peer % kinds == 3 ? "" : fmt::format("100.92.{}.{}", peer / 256, peer % 256);
        all += fmt::format(
            R"({}{{"fqdn":"host-{}.netbird.cloud","netbirdIp":"{}","publicKey":"k{}=","status":"{}",)"
            R"("connectionType":"P2P","iceCandidateType":{{"local":"host","remote":"srflx"}},"latency":1,)"
            R"("lastWireguardHandshake":"0001-01-01T00:00:00Z","transferReceived":0,"networks":[]}})",
            peer == 0 ? "" : ",", peer, address, peer, peer % 3 == 0 ? "Connected" : "Idle");
    }
    return R"({"peers":{"total":5000,"connected":1667,"details":[)" + all +
           R"(]},"cliVersion":"0.36.5","management":{"connected":true}})";
}

TEST(LargeNetwork, tailscale_lists_thousands_of_peers_of_every_kind) {
    const ScriptedClient client(tailscaleNetwork());
    const auto devices = TailscaleAdapter(client.path(), isExecutableFile).listDevices(StopToken());
    ASSERT_THAT(devices, SizeIs(peers));
    EXPECT_EQ(devices[0], (MeshVPNDevice{"host-0", {"100.64.0.0", "fd7a:115c:a1e0::0"}, true}));
    EXPECT_EQ(devices[4997], (MeshVPNDevice{"host-4997", {"100.64.19.133"}, false}));
    EXPECT_EQ(devices[4998], (MeshVPNDevice{"host-4998", {"fd7a:115c:a1e0::1386"}, true}));
    EXPECT_EQ(devices[4999], (MeshVPNDevice{"host-4999", {}, false}));
}

TEST(LargeNetwork, netbird_lists_thousands_of_peers_of_every_kind) {
    const ScriptedClient client(netbirdNetwork());
    const auto devices = NetbirdAdapter(client.path(), isExecutableFile).listDevices(StopToken());
    ASSERT_THAT(devices, SizeIs(peers));
    EXPECT_EQ(devices[0], (MeshVPNDevice{"host-0", {"100.92.0.0"}, true}));
    EXPECT_EQ(devices[4998], (MeshVPNDevice{"host-4998", {"100.92.19.134"}, true}));
    EXPECT_EQ(devices[4999], (MeshVPNDevice{"host-4999", {}, false}));
}

TEST(LargeNetwork, one_without_other_peers_is_empty) {
    const ScriptedClient tailscale(
        R"({"BackendState":"Running","Self":{"HostName":"this-mac"},"Peer":null})");
    const ScriptedClient netbird(R"({"peers":{"total":0,"connected":0,"details":[]}})");
    EXPECT_THAT(TailscaleAdapter(tailscale.path(), isExecutableFile).listDevices(StopToken()), IsEmpty());
    EXPECT_THAT(NetbirdAdapter(netbird.path(), isExecutableFile).listDevices(StopToken()), IsEmpty());
}

}  // namespace
}  // namespace quillbay
