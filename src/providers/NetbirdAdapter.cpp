#include "providers/NetbirdAdapter.h"

#include <utility>

namespace quillbay {

NetbirdAdapter::NetbirdAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable)
    : client_(std::move(binaryPath), std::move(isExecutable)) {}

const MeshVPNProviderType& NetbirdAdapter::providerType() {
    static const MeshVPNProviderType type{
        .id = "netbird",
        .displayName = "Netbird",
        .iconAssetName = "ProviderIcon-Netbird",
        .supportsDeviceDiscovery = true,
        .candidatePaths = {"/opt/homebrew/bin/netbird", "/usr/local/bin/netbird"},
        .fallbackPath = "/usr/local/bin/netbird",
        .create = [](std::optional<std::string> path,
                     ExecutableTest isExecutable) -> std::unique_ptr<MeshVPNProvider> {
            return std::make_unique<NetbirdAdapter>(std::move(path), std::move(isExecutable));
        }};
    return type;
}

std::vector<MeshVPNDevice> NetbirdAdapter::listDevices(const StopToken& token) const {
    return client_.listDevices(token);
}

}  // namespace quillbay
