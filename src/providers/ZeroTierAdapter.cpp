#include "providers/ZeroTierAdapter.h"

namespace quillbay {

ZeroTierAdapter::ZeroTierAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable)
    : binaryPath_(providerType(), std::move(binaryPath), std::move(isExecutable)) {}

const MeshVPNProviderType& ZeroTierAdapter::providerType() {
    static const MeshVPNProviderType type{
        .id = "zerotier",
        .displayName = "ZeroTier",
        .iconAssetName = "ProviderIcon-ZeroTier",
        .supportsDeviceDiscovery = false,
        .candidatePaths = {"/usr/local/bin/zerotier-cli", "/opt/homebrew/bin/zerotier-cli"},
        .fallbackPath = "/usr/local/bin/zerotier-cli",
        .create = [](std::optional<std::string> path,
                     ExecutableTest isExecutable) -> std::unique_ptr<MeshVPNProvider> {
            return std::make_unique<ZeroTierAdapter>(std::move(path), std::move(isExecutable));
        }};
    return type;
}

std::vector<MeshVPNDevice> ZeroTierAdapter::listDevices(const StopToken& /*token*/) const {
    return {};
}

}  // namespace quillbay
