#pragma once

#include <utility>

#include "providers/BinaryPath.h"
#include "providers/MeshVPNProvider.h"

namespace quillbay {

/// ZeroTier as a provider. Its client cannot list the peers of a network, so it is never run and the user
/// types the phone's address; its presence only says that ZeroTier is installed.
class ZeroTierAdapter final : public MeshVPNProvider {
 public:
    ZeroTierAdapter(std::optional<std::string> binaryPath, ExecutableTest isExecutable);

    static const MeshVPNProviderType& providerType();

    [[nodiscard]] const MeshVPNProviderType& type() const override { return providerType(); }
    [[nodiscard]] std::string binaryPath() const override { return binaryPath_.get(); }
    void setBinaryPath(std::string path) override { binaryPath_.set(std::move(path)); }
    [[nodiscard]] bool isInstalled() const override { return binaryPath_.executable().has_value(); }

    /// Always empty, at once.
    [[nodiscard]] std::vector<MeshVPNDevice> listDevices(const StopToken& token) const override;

 private:
    BinaryPath binaryPath_;
};

}  // namespace quillbay
