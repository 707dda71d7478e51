#include "profile/DeviceProfile.h"

#include <gtest/gtest.h>

#include "profile/ProfileExamples.h"

namespace quillbay {
namespace {

TEST(DeviceProfile, is_identified_by_host_and_provider) {
    DeviceProfile profile;
    profile.bonjourHost = "iPhone.local";
    profile.providerID = "zerotier";
    EXPECT_EQ(profile.id(), "iPhone.local#zerotier");
}

TEST(DeviceProfile, has_the_same_identity_with_an_absent_and_an_empty_provider) {
    DeviceProfile absent;
    absent.bonjourHost = "host";
    DeviceProfile empty = absent;
    empty.providerID = "";
    EXPECT_EQ(absent.id(), "host#");
    EXPECT_EQ(empty.id(), "host#");
    EXPECT_NE(absent, empty);
}

TEST(DeviceProfile, keeps_its_identity_when_the_name_or_the_ports_change) {
    const DeviceProfile before = exampleProfile();
    DeviceProfile after = before;
    after.displayName = "Other";
    after.remotePairingPort = 1;
    after.tunnelPortRangeStart = 2;
    after.tunnelPortRangeEnd = 3;
    EXPECT_EQ(after.id(), before.id());
    EXPECT_NE(after, before);
}

TEST(DeviceProfile, compares_every_field) {
    const DeviceProfile example = exampleProfile();
    const auto differs = [&](auto change) {
        DeviceProfile changed = example;
        change(changed);
        return !(changed == example);
    };
    EXPECT_EQ(example, exampleProfile());
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.displayName = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.bonjourName = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.bonjourHost = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.serviceType = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.remotePairingPort = 1; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.tunnelPortRangeStart = 1; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.tunnelPortRangeEnd = 1; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.providerID = std::nullopt; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.providerHostName = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.providerIP = "x"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.txtRecord["ver"] = "20"; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.bridgeEnabled = false; }));
    EXPECT_TRUE(differs([](DeviceProfile& p) { p.bridgeEnabled = std::nullopt; }));
}

TEST(DeviceProfile, names_its_provider) {
    DeviceProfile profile;
    const auto nameFor = [&](std::optional<std::string> id) {
        profile.providerID = std::move(id);
        return profile.providerDisplayName();
    };
    EXPECT_EQ(nameFor("manual"), "Manual IP");
    EXPECT_EQ(nameFor("tailscale"), "Tailscale");
    EXPECT_EQ(nameFor("zerotier"), "ZeroTier");
    EXPECT_EQ(nameFor("netbird"), "Netbird");
}

TEST(DeviceProfile, calls_an_unknown_or_absent_provider_tailscale) {
    DeviceProfile profile;
    EXPECT_EQ(profile.providerDisplayName(), "Tailscale");
    profile.providerID = "somethingelse";
    EXPECT_EQ(profile.providerDisplayName(), "Tailscale");
    profile.providerID = "Manual";
    EXPECT_EQ(profile.providerDisplayName(), "Tailscale");
}

TEST(DeviceProfile, drafts_an_unpaired_profile_with_the_default_ports) {
    const DeviceProfile draft = DeviceProfile::draft("My phone");
    EXPECT_EQ(draft.displayName, "My phone");
    EXPECT_EQ(draft.bonjourName, "");
    EXPECT_EQ(draft.bonjourHost, "");
    EXPECT_EQ(draft.serviceType, "_remotepairing._tcp");
    EXPECT_EQ(draft.remotePairingPort, 0);
    EXPECT_EQ(draft.tunnelPortRangeStart, 55000);
    EXPECT_EQ(draft.tunnelPortRangeEnd, 58000);
    EXPECT_EQ(draft.providerID, std::nullopt);
    EXPECT_EQ(draft.providerHostName, "");
    EXPECT_EQ(draft.providerIP, "");
    EXPECT_TRUE(draft.txtRecord.empty());
    EXPECT_EQ(draft.bridgeEnabled, std::optional<bool>(false));
}

}  // namespace
}  // namespace quillbay
