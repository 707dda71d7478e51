#pragma once

#include <utility>

#include "providers/MeshVPNProvider.h"
#include "providers/TailscaleClient.h"

namespace quillbay {

/// Tailscale as a provider.
class TailscaleAdapter final : public MeshVPNProvider {
 public:
    TailscaleAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable);

    static const MeshVPNProviderType& providerType();

    [[nodiscard]] const MeshVPNProviderType& type() const override { return providerType(); }
    [[nodiscard]] std::string binaryPath() const override { return client_.binaryPath.get(); }
    void setBinaryPath(std::string path) override { client_.binaryPath.set(std::move(path)); }
    [[nodiscard]] bool isInstalled() const override { return client_.binaryPath.executable().has_value(); }
    [[nodiscard]] std::vector<MeshVPNDevice> listDevices(const StopToken& token) const override;

 private:
    TailscaleClient client_;
};

}  // namespace quillbay
