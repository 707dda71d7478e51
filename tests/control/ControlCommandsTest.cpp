// Long, but one thing: every command with its document and its refusals, on one fixture.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "control/ControlFixture.h"
#include "core/Version.h"
#include "fakes/FullDisk.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using ControlCommandsTest = ControlFixture;

TEST_F(ControlCommandsTest, status_shows_the_profiles_and_their_bridges) {
    DeviceProfile wanted = profile("wanted");
    wanted.bridgeEnabled = true;
    DeviceProfile bare = profile("bare");
    bare.bridgeEnabled.reset();
    serve({wanted, bare});
    EXPECT_EQ(ask(R"({"command":"status"})"),
              std::string(R"({"version":")") + applicationVersion() + R"(","localIP":")" + world.macIP +
                  R"(","overall":"off","profiles":[)" +
                  R"({"id":"wanted.local#tailscale","displayName":"wanted","bonjourHost":"wanted.local",)" +
                  R"("providerID":"tailscale","providerIP":")" + world.phoneIP +
                  R"(","remotePairingPort":50000,"bridgeEnabled":true,)" +
                  R"("status":{"state":"off","message":null}},)" +
                  R"({"id":"bare.local#tailscale","displayName":"bare","bonjourHost":"bare.local",)" +
                  R"("providerID":"tailscale","providerIP":")" + world.phoneIP +
                  R"(","remotePairingPort":50000,"bridgeEnabled":null,)" +
                  R"("status":{"state":"off","message":null}}]})");
}

TEST_F(ControlCommandsTest, status_without_an_address_and_without_profiles) {
    world.setAddress(std::nullopt);
    serve();
    EXPECT_EQ(ask(R"({"command":"status"})"), std::string(R"({"version":")") + applicationVersion() +
                                                  R"(","localIP":null,"overall":"off","profiles":[]})");
}

TEST_F(ControlCommandsTest, status_shows_an_error_with_its_sentence) {
    serve({profile("iphone")});
    world.setAddress(std::nullopt);
    EXPECT_EQ(ask(R"({"command":"start","profile":"iphone"})"), R"({"id":"iphone.local#tailscale"})");
    world.settle();
    EXPECT_THAT(
        ask(R"({"command":"status"})"),
        ::testing::EndsWith(
            R"("status":{"state":"error","message":"Couldn't determine this Mac's network address."}}]})"));
}

TEST_F(ControlCommandsTest, phones_lists_what_was_captured) {
    serve();
    CapturedBonjourService named = phone("Mirel", "iPhone.local");
    named.resolvedDeviceName = "Mirel's iPhone";
    discover({named, phone("other", "jPhone.local")});
    EXPECT_EQ(ask(R"({"command":"phones"})"),
              R"({"phones":[{"name":"Mirel","host":"iPhone.local","port":49152,)"
              R"("txt":{"identifier":"ABC","ver":"24"},"lastSeen":"2023-11-14T22:13:20Z",)"
              R"("resolvedDeviceName":"Mirel's iPhone"},)"
              R"({"name":"other","host":"jPhone.local","port":49152,)"
              R"("txt":{"identifier":"ABC","ver":"24"},"lastSeen":"2023-11-14T22:13:20Z",)"
              R"("resolvedDeviceName":null}]})");
}

TEST_F(ControlCommandsTest, bytes_that_are_no_text_are_replaced) {
    serve();
    CapturedBonjourService odd = phone("a\nb", "iPhone.local");
    odd.txt = {{"key", "\xff\x01"}};
    discover({odd});
    EXPECT_EQ(ask(R"({"command":"phones"})"),
              R"({"phones":[{"name":"a\nb","host":"iPhone.local","port":49152,)"
              R"("txt":{"key":"�\u0001"},"lastSeen":"2023-11-14T22:13:20Z","resolvedDeviceName":null}]})");
}

TEST_F(ControlCommandsTest, control_characters_of_every_range_are_escaped) {
    serve();
    discover({phone("a\x7f\xc2\x80\xc2\x9b[2J\xc2\xa0é", "iPhone.local")});
    EXPECT_THAT(ask(R"({"command":"phones"})"),
                ::testing::StartsWith("{\"phones\":[{\"name\":\"a\\u007f\\u0080\\u009b[2J\xc2\xa0é\","));
}

TEST_F(ControlCommandsTest, the_first_question_for_phones_starts_the_discovery_and_waits_for_it) {
    serve();
    auto first = client();
    ASSERT_TRUE(first.send(R"({"command":"phones"})"));
    ASSERT_TRUE(world.until([&] { return coordinator->discoveryStarted().has_value(); }));
    world.settle();
    world.advance(std::chrono::milliseconds(1999));
    coordinator->upsertCapturedService(phone("late", "late.local"));
    // Another client's answer has come back meanwhile, and this one's has not.
    EXPECT_EQ(ask(R"({"command":"stop","profile":"x"})"), R"({"error":"There is no profile \"x\"."})");
    EXPECT_FALSE(first.hasReceived());
    world.advance(std::chrono::milliseconds(1));
    EXPECT_THAT(first.receive(), ::testing::HasSubstr("late.local"));
    // From now on there is nothing to wait for.
    EXPECT_THAT(ask(R"({"command":"phones"})"), ::testing::HasSubstr("late.local"));
    ASSERT_TRUE(world.until([&] { return !world.tools.zoneDumps().empty(); }));
    EXPECT_EQ(world.tools.zoneDumps().size(), 1U);
}

TEST_F(ControlCommandsTest, the_names_of_the_devices_are_asked_for_now_and_then) {
    serve();
    discover({});
    EXPECT_EQ(ask(R"({"command":"phones"})"), R"({"phones":[]})");
    EXPECT_EQ(ask(R"({"command":"phones"})"), R"({"phones":[]})");
    ASSERT_TRUE(world.until([&] { return world.tools.deviceCtlRuns() == 1; }));
    ASSERT_TRUE(world.until([&] { return world.background.pending() == 0; }));
    world.advance(std::chrono::seconds(30));
    EXPECT_EQ(ask(R"({"command":"phones"})"), R"({"phones":[]})");
    ASSERT_TRUE(world.until([&] { return world.tools.deviceCtlRuns() == 2; }));
}

TEST_F(ControlCommandsTest, providers_are_shown_with_their_tools) {
    serve();
    useClient("tailscale", "exit 0\n");
    coordinator->setBinaryPath("/nowhere/netbird", "netbird");
    coordinator->setBinaryPath("/nowhere/zerotier-cli", "zerotier");
    EXPECT_EQ(ask(R"({"command":"providers"})"),
              R"({"providers":[{"id":"tailscale","displayName":"Tailscale","installed":true,"binaryPath":")" +
                  (world.folder.path() / "tailscale-client").string() +
                  R"(","supportsDeviceDiscovery":true},)"
                  R"({"id":"zerotier","displayName":"ZeroTier","installed":false,)"
                  R"("binaryPath":"/nowhere/zerotier-cli","supportsDeviceDiscovery":false},)"
                  R"({"id":"netbird","displayName":"Netbird","installed":false,)"
                  R"("binaryPath":"/nowhere/netbird","supportsDeviceDiscovery":true}]})");
}

TEST_F(ControlCommandsTest, peers_are_listed_anew) {
    serve();
    usePeers({R"({"HostName":"phone","TailscaleIPs":["100.64.0.7","fd7a::7"],"Online":true})",
              R"({"HostName":"old","Online":false})"});
    EXPECT_EQ(ask(R"({"command":"peers","provider":"tailscale"})"),
              R"({"provider":"tailscale","peers":[)"
              R"({"hostName":"phone","ipAddresses":["100.64.0.7","fd7a::7"],"online":true},)"
              R"({"hostName":"old","ipAddresses":[],"online":false}]})");
    usePeers({});
    EXPECT_EQ(ask(R"({"command":"peers","provider":"tailscale"})"), R"({"provider":"tailscale","peers":[]})");
}

TEST_F(ControlCommandsTest, peers_says_why_a_client_fails) {
    serve();
    useClient("netbird", "echo 'daemon is down' >&2; exit 4\n");
    EXPECT_EQ(ask(R"({"command":"peers","provider":"netbird"})"),
              R"({"error":"CLI exited with status 4: daemon is down\n"})");
}

TEST_F(ControlCommandsTest, peers_of_an_unknown_provider_are_refused_with_the_known_ones) {
    serve();
    EXPECT_EQ(ask(R"({"command":"peers","provider":"hamachi"})"),
              R"({"error":"There is no provider \"hamachi\". Known are: tailscale, zerotier, netbird."})");
}

TEST_F(ControlCommandsTest, peers_of_a_provider_that_lists_none_are_refused_with_a_way_out) {
    serve();
    EXPECT_EQ(ask(R"({"command":"peers","provider":"zerotier"})"),
              R"({"error":"ZeroTier cannot list its peers: pair with the phone's address."})");
}

TEST_F(ControlCommandsTest, a_hanging_vpn_client_holds_nobody_else_up) {
    serve();
    useClient("tailscale", "exec sleep 60\n");
    auto waiting = client();
    ASSERT_TRUE(waiting.send(R"({"command":"peers","provider":"tailscale"})"));
    EXPECT_THAT(ask(R"({"command":"status"})"), ::testing::HasSubstr("\"overall\":\"off\""));
    EXPECT_FALSE(waiting.hasReceived());
    usePeers({});
    EXPECT_EQ(waiting.receive(), R"({"provider":"tailscale","peers":[]})");
}

TEST_F(ControlCommandsTest, start_answers_when_it_has_begun) {
    serve({profile("iphone")});
    EXPECT_EQ(ask(R"({"command":"start","profile":"iphone"})"), R"({"id":"iphone.local#tailscale"})");
    EXPECT_EQ(stored().at(0).bridgeEnabled, true);
    EXPECT_THAT(ask(R"({"command":"status"})"), ::testing::Not(::testing::HasSubstr(R"("state":"off")")))
        << "whoever asks next sees that it has begun";
    EXPECT_EQ(ask(R"({"command":"stop","profile":"iphone"})"), R"({"id":"iphone.local#tailscale"})");
    EXPECT_EQ(stored().at(0).bridgeEnabled, false);
    EXPECT_EQ(coordinator->status("iphone.local#tailscale"), BridgeStatus::off());
}

TEST_F(ControlCommandsTest, a_profile_is_named_by_its_name_its_host_or_its_id) {
    serve({profile("iphone")});
    const std::string answer = R"({"id":"iphone.local#tailscale"})";
    EXPECT_EQ(ask(R"({"command":"stop","profile":"iphone"})"), answer);
    EXPECT_EQ(ask(R"({"command":"stop","profile":"IPHONE.local"})"), answer);
    EXPECT_EQ(ask(R"({"command":"stop","profile":"iphone.local#tailscale"})"), answer);
    EXPECT_EQ(ask(R"({"command":"stop","profile":"iPhone"})"),
              R"({"error":"There is no profile \"iPhone\"."})");
}

TEST_F(ControlCommandsTest, a_name_that_fits_several_profiles_is_refused_with_the_ids) {
    DeviceProfile second = profile("iphone");
    second.providerID = "manual";
    serve({profile("iphone"), second});
    for (const char* command : {"start", "stop", "remove", "scan"})
        EXPECT_EQ(ask(std::string(R"({"command":")") + command + R"(","profile":"iphone.local"})"),
                  R"({"error":"\"iphone.local\" fits several profiles, name one by its id: )"
                  R"(iphone.local#tailscale, iphone.local#manual."})");
    EXPECT_EQ(ask(R"({"command":"remove","profile":"iphone.local#manual"})"),
              R"({"id":"iphone.local#manual"})");
    EXPECT_EQ(stored().size(), 1U);
}

TEST_F(ControlCommandsTest, no_command_takes_a_profile_that_is_not_there) {
    serve({profile("iphone")});
    for (const char* command : {"start", "stop", "remove", "scan"})
        EXPECT_EQ(ask(std::string(R"({"command":")") + command + R"(","profile":"x"})"),
                  R"({"error":"There is no profile \"x\"."})");
    EXPECT_EQ(ask(R"({"command":"rename","profile":"x","name":"y"})"),
              R"({"error":"There is no profile \"x\"."})");
}

TEST_F(ControlCommandsTest, rename_keeps_everything_else) {
    DeviceProfile before = profile("iphone");
    before.bridgeEnabled.reset();
    serve({before});
    EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":" Mirel's \t"})"),
              R"({"id":"iphone.local#tailscale"})");
    DeviceProfile after = before;
    after.displayName = "Mirel's";
    EXPECT_THAT(stored(), ElementsAre(after));
    EXPECT_EQ(coordinator->logs().userLines().back(), "Device \"Mirel's\" updated.");
}

TEST_F(ControlCommandsTest, rename_refuses_names_that_are_none) {
    serve({profile("iphone")});
    EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":" \n "})"),
              R"({"error":"The name is empty."})");
    EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":"a\nUSER  b"})"),
              R"({"error":"A name must not contain control characters."})");
    EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":"a\u009b2Jb"})"),
              R"({"error":"A name must not contain control characters."})");
    EXPECT_THAT(stored(), ElementsAre(profile("iphone")));
}

TEST_F(ControlCommandsTest, remove_forgets_the_profile) {
    serve({profile("iphone")});
    EXPECT_EQ(ask(R"({"command":"remove","profile":"iphone"})"), R"({"id":"iphone.local#tailscale"})");
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ControlCommandsTest, a_change_that_the_disk_does_not_take_is_refused) {
    serve({profile("iphone")});
    const std::string refusal = R"({"error":"The change could not be saved. Is there room on the disk?"})";
    {
        const fakes::FullDisk full;
        EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":"new"})"), refusal);
        EXPECT_EQ(ask(R"({"command":"remove","profile":"iphone"})"), refusal);
    }
    EXPECT_THAT(stored(), ElementsAre(profile("iphone")));
    EXPECT_EQ(ask(R"({"command":"rename","profile":"iphone","name":"new"})"),
              R"({"id":"iphone.local#tailscale"})");
    EXPECT_EQ(ask(R"({"command":"remove","profile":"new"})"), R"({"id":"iphone.local#tailscale"})");
}

TEST_F(ControlCommandsTest, log_shows_the_user_lines_and_then_an_empty_object) {
    serve();
    coordinator->logs().user("first");
    coordinator->logs().diagnostic("not this");
    coordinator->logs().user("second \"quoted\"");
    auto reader = client();
    EXPECT_EQ(reader.ask(R"({"command":"log"})"), R"({"line":"first"})");
    EXPECT_EQ(reader.receive(), R"({"line":"second \"quoted\""})");
    EXPECT_EQ(reader.receive(), "{}");
    EXPECT_THAT(reader.ask(R"({"command":"status"})"), ::testing::HasSubstr("overall"));
}

TEST_F(ControlCommandsTest, an_empty_log_is_an_empty_object) {
    serve();
    EXPECT_EQ(ask(R"({"command":"log","follow":false})"), "{}");
}

TEST_F(ControlCommandsTest, log_that_follows_shows_later_lines_as_they_come) {
    serve();
    coordinator->logs().user("before");
    auto reader = client();
    EXPECT_EQ(reader.ask(R"({"command":"log","follow":true})"), R"({"line":"before"})");
    coordinator->logs().user("after");
    EXPECT_EQ(reader.receive(), R"({"line":"after"})");
    coordinator->logs().user("later");
    EXPECT_EQ(reader.receive(), R"({"line":"later"})");
}

TEST_F(ControlCommandsTest, report_writes_the_archive) {
    serve();
    const std::string path = (world.folder.path() / "report.zip").string();
    EXPECT_EQ(ask(R"({"command":"report","to":")" + path + "\"}"), R"({"path":")" + path + "\"}");
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(ControlCommandsTest, report_says_why_it_could_not_be_written) {
    serve();
    const std::string path = (world.folder.path() / "no-such-folder" / "report.zip").string();
    EXPECT_THAT(ask(R"({"command":"report","to":")" + path + "\"}"), ::testing::StartsWith(R"({"error":")"));
}

TEST_F(ControlCommandsTest, settings_shows_who_may_use_the_bridge) {
    serve();
    EXPECT_EQ(ask(R"({"command":"settings"})"),
              R"({"onlyThisComputer":false,"refusedConnections":0,"refusedDatagrams":0})");
    EXPECT_FALSE(SettingsStore(world.host.files).has("bridge.onlyThisComputer")) << "nothing was set";
}

TEST_F(ControlCommandsTest, settings_restricts_and_opens_the_bridge) {
    serve();
    EXPECT_EQ(ask(R"({"command":"settings","onlyThisComputer":true})"),
              R"({"onlyThisComputer":true,"refusedConnections":0,"refusedDatagrams":0})");
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_EQ(ask(R"({"command":"settings"})"),
              R"({"onlyThisComputer":true,"refusedConnections":0,"refusedDatagrams":0})");
    EXPECT_EQ(ask(R"({"command":"settings","onlyThisComputer":false})"),
              R"({"onlyThisComputer":false,"refusedConnections":0,"refusedDatagrams":0})");
    EXPECT_FALSE(coordinator->onlyThisComputer());
}

TEST_F(ControlCommandsTest, settings_says_when_a_change_could_not_be_saved) {
    serve();
    const auto folder = world.host.files.configuration;
    std::filesystem::remove_all(folder);
    std::ofstream(folder) << "a file";
    EXPECT_EQ(ask(R"({"command":"settings","onlyThisComputer":true})"),
              R"({"error":"This holds until Quillbay quits. It could not be saved: Not a directory"})");
    EXPECT_TRUE(coordinator->onlyThisComputer());
}

TEST_F(ControlCommandsTest, activate_brings_the_windows_to_the_front) {
    std::vector<std::optional<std::string>> tokens;
    activate = [&](const std::optional<std::string>& token) { tokens.push_back(token); };
    serve();
    EXPECT_EQ(ask(R"({"command":"activate"})"), "{}");
    EXPECT_EQ(ask(R"({"command":"activate","token":"from the desktop"})"), "{}");
    EXPECT_EQ(tokens, (std::vector<std::optional<std::string>>{std::nullopt, "from the desktop"}));
}

TEST_F(ControlCommandsTest, activate_is_refused_by_a_program_without_windows) {
    serve();
    EXPECT_EQ(ask(R"({"command":"activate"})"), R"({"error":"The program that runs has no windows."})");
}

}  // namespace
}  // namespace quillbay
