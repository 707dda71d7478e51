#include "providers/MeshVPNProviderRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "platform/ToolPaths.h"
#include "providers/ScriptedClient.h"

namespace quillbay {
namespace {

using MeshVPNProviderRegistry::all;
using MeshVPNProviderRegistry::provider;
using testing::ElementsAre;
using testing::ElementsAreArray;

/// A system on which exactly these files are executable, and which remembers what it was asked.
struct Installed {
    std::set<std::string> files;
    std::vector<std::string> asked;

    ExecutableTest test() {
        return [this](const std::filesystem::path& path) {
            asked.push_back(path);
            return files.contains(path);
        };
    }
};

std::string pathFoundBy(const std::string& id, std::set<std::string> files) {
    Installed installed{std::move(files), {}};
    return provider(id)->makeProvider(std::nullopt, installed.test())->binaryPath();
}

TEST(MeshVPNProviderRegistry, lists_the_providers_in_their_order) {
    std::vector<std::string> ids;
    for (const MeshVPNProviderType& type : all())
        ids.push_back(type.id);
    EXPECT_THAT(ids, ElementsAre("tailscale", "zerotier", "netbird"));
}

TEST(MeshVPNProviderRegistry, knows_tailscale) {
    const MeshVPNProviderType& type = *provider("tailscale");
    EXPECT_EQ(type.displayName, "Tailscale");
    EXPECT_EQ(type.iconAssetName, "ProviderIcon-Tailscale");
    EXPECT_TRUE(type.supportsDeviceDiscovery);
    EXPECT_THAT(type.candidatePaths, ElementsAre("/opt/homebrew/bin/tailscale", "/usr/local/bin/tailscale",
                                                 "/Applications/Tailscale.app/Contents/MacOS/Tailscale"));
    EXPECT_EQ(type.fallbackPath, "/usr/local/bin/tailscale");
}

TEST(MeshVPNProviderRegistry, knows_zerotier) {
    const MeshVPNProviderType& type = *provider("zerotier");
    EXPECT_EQ(type.displayName, "ZeroTier");
    EXPECT_EQ(type.iconAssetName, "ProviderIcon-ZeroTier");
    EXPECT_FALSE(type.supportsDeviceDiscovery);
    EXPECT_THAT(type.candidatePaths,
                ElementsAre("/usr/local/bin/zerotier-cli", "/opt/homebrew/bin/zerotier-cli"));
    EXPECT_EQ(type.fallbackPath, "/usr/local/bin/zerotier-cli");
}

TEST(MeshVPNProviderRegistry, knows_netbird) {
    const MeshVPNProviderType& type = *provider("netbird");
    EXPECT_EQ(type.displayName, "Netbird");
    EXPECT_EQ(type.iconAssetName, "ProviderIcon-Netbird");
    EXPECT_TRUE(type.supportsDeviceDiscovery);
    EXPECT_THAT(type.candidatePaths, ElementsAre("/opt/homebrew/bin/netbird", "/usr/local/bin/netbird"));
    EXPECT_EQ(type.fallbackPath, "/usr/local/bin/netbird");
}

TEST(MeshVPNProviderRegistry, compares_identifiers_exactly) {
    EXPECT_EQ(provider("Tailscale"), nullptr);
    EXPECT_EQ(provider("tailscale "), nullptr);
    EXPECT_EQ(provider(""), nullptr);
    EXPECT_EQ(provider("manual"), nullptr);
}

TEST(MeshVPNProviderRegistry, makes_providers_of_their_type) {
    for (const MeshVPNProviderType& type : all()) {
        EXPECT_EQ(type.makeProvider("/x")->type().id, type.id);
    }
}

TEST(BinaryPath, prefers_homebrew_for_tailscale_and_netbird) {
    EXPECT_EQ(pathFoundBy("tailscale", {"/opt/homebrew/bin/tailscale", "/usr/local/bin/tailscale"}),
              "/opt/homebrew/bin/tailscale");
    EXPECT_EQ(pathFoundBy("netbird", {"/opt/homebrew/bin/netbird", "/usr/local/bin/netbird"}),
              "/opt/homebrew/bin/netbird");
}

TEST(BinaryPath, prefers_usr_local_for_zerotier) {
    EXPECT_EQ(pathFoundBy("zerotier", {"/usr/local/bin/zerotier-cli", "/opt/homebrew/bin/zerotier-cli"}),
              "/usr/local/bin/zerotier-cli");
}

TEST(BinaryPath, takes_the_first_candidate_that_is_executable) {
    EXPECT_EQ(pathFoundBy("tailscale", {"/usr/local/bin/tailscale"}), "/usr/local/bin/tailscale");
    EXPECT_EQ(pathFoundBy("tailscale", {"/Applications/Tailscale.app/Contents/MacOS/Tailscale"}),
              "/Applications/Tailscale.app/Contents/MacOS/Tailscale");
    EXPECT_EQ(pathFoundBy("zerotier", {"/opt/homebrew/bin/zerotier-cli"}), "/opt/homebrew/bin/zerotier-cli");
}

TEST(BinaryPath, looks_where_the_systems_packages_are_after_the_candidates) {
    for (const MeshVPNProviderType& type : all()) {
        const std::string program = std::filesystem::path(type.fallbackPath).filename();
        std::vector<std::string> expected = type.candidatePaths;
        const std::vector<std::string> packaged = packagedToolPaths(program);
        expected.insert(expected.end(), packaged.begin(), packaged.end());
        Installed nothing;
        EXPECT_EQ(type.defaultBinaryPath(nothing.test()), type.fallbackPath);
        EXPECT_THAT(nothing.asked, ElementsAreArray(expected));
        for (const std::string& path : packaged)
            EXPECT_EQ(pathFoundBy(type.id, {path}), path);
    }
}

TEST(BinaryPath, falls_back_to_a_path_that_is_then_not_installed) {
    Installed nothing;
    const auto found = provider("netbird")->makeProvider(std::nullopt, nothing.test());
    EXPECT_EQ(found->binaryPath(), "/usr/local/bin/netbird");
    EXPECT_FALSE(found->isInstalled());
}

TEST(BinaryPath, keeps_a_given_path_that_does_not_exist) {
    for (const MeshVPNProviderType& type : all()) {
        const auto made = type.makeProvider("/nowhere/client");
        EXPECT_EQ(made->binaryPath(), "/nowhere/client");
        EXPECT_FALSE(made->isInstalled());
    }
}

TEST(BinaryPath, does_not_check_a_given_path) {
    Installed installed;
    const auto made = provider("tailscale")->makeProvider("relative/path", installed.test());
    EXPECT_EQ(made->binaryPath(), "relative/path");
    EXPECT_TRUE(installed.asked.empty());
}

TEST(BinaryPath, is_asked_for_anew_each_time) {
    for (const MeshVPNProviderType& type : all()) {
        Installed installed;
        const auto made = type.makeProvider("/a", installed.test());
        EXPECT_FALSE(made->isInstalled());
        installed.files = {"/a"};
        EXPECT_TRUE(made->isInstalled());
        made->setBinaryPath("/b");
        EXPECT_EQ(made->binaryPath(), "/b");
        EXPECT_FALSE(made->isInstalled());
    }
}

TEST(BinaryPath, asks_the_system_whether_a_file_is_executable) {
    const ScriptedClient client("{}");
    for (const MeshVPNProviderType& type : all()) {
        EXPECT_TRUE(type.makeProvider(client.path())->isInstalled());
        EXPECT_FALSE(type.makeProvider("/usr")->isInstalled());
        EXPECT_FALSE(type.makeProvider(toolPath("client-not-executable"))->isInstalled());
        EXPECT_FALSE(type.makeProvider("")->isInstalled());
    }
}

}  // namespace
}  // namespace quillbay
