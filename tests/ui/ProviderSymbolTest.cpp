#include "ui/models/ProviderSymbol.h"

#include <gtest/gtest.h>

#include <set>

#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay {
namespace {

TEST(ProviderSymbol, tailscale_is_a_mesh) {
    EXPECT_EQ(providerSymbol("ProviderIcon-Tailscale"), "provider.mesh");
}

TEST(ProviderSymbol, zerotier_is_a_star) {
    EXPECT_EQ(providerSymbol("ProviderIcon-ZeroTier"), "provider.star");
}

TEST(ProviderSymbol, netbird_is_a_ring) {
    EXPECT_EQ(providerSymbol("ProviderIcon-Netbird"), "provider.ring");
}

TEST(ProviderSymbol, any_other_one_is_the_network) {
    EXPECT_EQ(providerSymbol("ProviderIcon-Other"), "network");
    EXPECT_EQ(providerSymbol(""), "network");
    EXPECT_EQ(providerSymbol("providericon-tailscale"), "network");
}

TEST(ProviderSymbol, every_provider_has_a_mark_of_its_own) {
    std::set<QString> marks;
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all()) {
        EXPECT_NE(providerSymbol(type.iconAssetName), "network") << type.id;
        marks.insert(providerSymbol(type.iconAssetName));
    }
    EXPECT_EQ(marks.size(), MeshVPNProviderRegistry::all().size());
}

}  // namespace
}  // namespace quillbay
