#include "providers/TailscaleAdapter.h"

#include <utility>

namespace quillbay {

TailscaleAdapter::TailscaleAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable)
    : client_(std::move(binaryPath), std::move(isExecutable)) {}

const MeshVPNProviderType& TailscaleAdapter::providerType() {
    static const MeshVPNProviderType type{
        .id = "tailscale",
        .displayName = "Tailscale",
        .iconAssetName = "ProviderIcon-Tailscale",
        .supportsDeviceDiscovery = true,
        .candidatePaths = {"/opt/homebrew/bin/tailscale", "/usr/local/bin/tailscale",
                           "/Applications/Tailscale.app/Contents/MacOS/Tailscale"},
        .fallbackPath = "/usr/local/bin/tailscale",
        .create = [](std::optional<std::string> path,
                     ExecutableTest isExecutable) -> std::unique_ptr<MeshVPNProvider> {
            return std::make_unique<TailscaleAdapter>(std::move(path), std::move(isExecutable));
        }};
    return type;
}

std::vector<MeshVPNDevice> TailscaleAdapter::listDevices(const StopToken& token) const {
    std::vector<MeshVPNDevice> devices;
    for (TailscaleDevice& device : client_.listDevices(token)) {
        devices.push_back({std::move(device.hostName), std::move(device.tailscaleIPs), device.online});
    }
    return devices;
}

}  // namespace quillbay
