#include "core/DevicePairing.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

CapturedBonjourService captured() {
    CapturedBonjourService service;
    service.name = "instance";
    service.serviceType = "_remotepairing._tcp";
    service.domain = "local";
    service.host = "iPhone.local";
    service.port = 50123;
    service.txt = {{"ver", "24"}, {"identifier", "AB-12"}};
    return service;
}

TEST(DevicePairing, drafts_a_profile_of_the_captured_record) {
    DeviceProfile expected;
    expected.displayName = "Mirel's iPhone";
    expected.bonjourName = "instance";
    expected.bonjourHost = "iPhone.local";
    expected.serviceType = "_remotepairing._tcp";
    expected.remotePairingPort = 50123;
    expected.tunnelPortRangeStart = 55000;
    expected.tunnelPortRangeEnd = 58000;
    expected.txtRecord = {{"ver", "24"}, {"identifier", "AB-12"}};
    expected.bridgeEnabled = false;
    EXPECT_EQ(draftProfile(captured(), " \n\tMirel's iPhone\r\n "), expected);
}

TEST(DevicePairing, a_display_name_of_blanks_becomes_empty) {
    EXPECT_EQ(draftProfile(captured(), "  \t ").displayName, "");
}

TEST(DevicePairing, reaches_a_peer_at_its_first_address) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    EXPECT_TRUE(applyPeer(profile, "tailscale", {"iphone", {"100.64.0.7", "fd7a::7"}, false}));
    EXPECT_EQ(profile.providerID, "tailscale");
    EXPECT_EQ(profile.providerHostName, "iphone");
    EXPECT_EQ(profile.providerIP, "100.64.0.7");
    EXPECT_EQ(profile.id(), "iPhone.local#tailscale");
}

TEST(DevicePairing, a_peer_without_any_address_changes_nothing) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    const DeviceProfile before = profile;
    EXPECT_FALSE(applyPeer(profile, "netbird", {"iphone", {}, true}));
    EXPECT_EQ(profile, before);
}

TEST(DevicePairing, a_manual_address_loses_its_blanks_and_is_the_host_name_too) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    EXPECT_TRUE(applyManualAddress(profile, manualProviderID, " \t\u00A0\u3000 10.0.0.7  "));
    EXPECT_EQ(profile.providerID, "manual");
    EXPECT_EQ(profile.providerHostName, "10.0.0.7");
    EXPECT_EQ(profile.providerIP, "10.0.0.7");
    EXPECT_TRUE(applyManualAddress(profile, "zerotier", "10.0.0.8"));
    EXPECT_EQ(profile.providerID, "zerotier");
    EXPECT_EQ(profile.providerIP, "10.0.0.8");
}

TEST(DevicePairing, line_breaks_are_not_trimmed_from_a_manual_address) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    EXPECT_TRUE(applyManualAddress(profile, manualProviderID, " \n10.0.0.7\n "));
    EXPECT_EQ(profile.providerIP, "\n10.0.0.7\n");
}

TEST(DevicePairing, an_empty_address_changes_nothing) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    const DeviceProfile before = profile;
    EXPECT_FALSE(applyManualAddress(profile, manualProviderID, ""));
    EXPECT_FALSE(applyManualAddress(profile, manualProviderID, " \t "));
    EXPECT_EQ(profile, before);
}

TEST(DevicePairing, pairing_anew_takes_the_record_and_nothing_else) {
    DeviceProfile profile = draftProfile(captured(), "Phone");
    applyPeer(profile, "tailscale", {"iphone", {"100.64.0.7"}, true});
    profile.bridgeEnabled = true;
    DeviceProfile expected = profile;
    expected.bonjourName = "other-instance";
    expected.bonjourHost = "iPad.local";
    expected.remotePairingPort = 1;
    expected.txtRecord = {};
    CapturedBonjourService other;
    other.name = "other-instance";
    other.serviceType = "_remotepairing._tcp";
    other.host = "iPad.local";
    other.port = 1;
    takeRecord(profile, other);
    EXPECT_EQ(profile, expected);
}

}  // namespace
}  // namespace quillbay
