#pragma once

#include <utility>

#include "providers/MeshVPNProvider.h"
#include "providers/NetbirdClient.h"

namespace quillbay {

/// NetBird as a provider.
class NetbirdAdapter final : public MeshVPNProvider {
 public:
    NetbirdAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable);

    static const MeshVPNProviderType& providerType();

    [[nodiscard]] const MeshVPNProviderType& type() const override { return providerType(); }
    [[nodiscard]] std::string binaryPath() const override { return client_.binaryPath.get(); }
    void setBinaryPath(std::string path) override { client_.binaryPath.set(std::move(path)); }
    [[nodiscard]] bool isInstalled() const override { return client_.binaryPath.executable().has_value(); }
    [[nodiscard]] std::vector<MeshVPNDevice> listDevices(const StopToken& token) const override;

 private:
    NetbirdClient client_;
};

}  // namespace quillbay
