#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Files.h"
#include "platform/StopToken.h"
#include "providers/MeshVPNDevice.h"
#include "providers/MeshVPNProviderError.h"

namespace quillbay {

class MeshVPNProvider;

/// The system's test for an executable file; replaced by tests that decide which clients are installed.
using ExecutableTest = std::function<bool(const std::filesystem::path&)>;

/// What all instances of one provider have in common.
struct MeshVPNProviderType {
    /// Stable: a suffix of settings keys, and kept in device profiles.
    std::string id;
    std::string displayName;
    std::string iconAssetName;
    /// Whether `listDevices` can list peers at all.
    bool supportsDeviceDiscovery;
    /// Where the command-line client is looked for, in this order, before the places of `packagedToolPaths`.
    std::vector<std::string> candidatePaths;
    /// Taken when the client is nowhere.
    std::string fallbackPath;
    std::unique_ptr<MeshVPNProvider> (*create)(std::optional<std::string> binaryPath,
                                               ExecutableTest isExecutable);

    /// A provider that uses the client at `binaryPath`, unchecked, or searches for it when there is none.
    [[nodiscard]] std::unique_ptr<MeshVPNProvider> makeProvider(
        std::optional<std::string> binaryPath = std::nullopt,
        ExecutableTest isExecutable = isExecutableFile) const {
        return create(std::move(binaryPath), std::move(isExecutable));
    }

    /// The path that a provider without a given one uses.
    [[nodiscard]] std::string defaultBinaryPath(const ExecutableTest& isExecutable = isExecutableFile) const;
};

/// Drives the command-line client of one mesh VPN. All members may be called on any thread: the peers are
/// listed in the background while the user edits the client's path.
class MeshVPNProvider {
 public:
    virtual ~MeshVPNProvider() = default;

    [[nodiscard]] virtual const MeshVPNProviderType& type() const = 0;

    /// The client in use. A new path holds from the next `listDevices` on and is not checked.
    [[nodiscard]] virtual std::string binaryPath() const = 0;
    virtual void setBinaryPath(std::string path) = 0;

    /// True when `binaryPath` names an executable file now.
    [[nodiscard]] virtual bool isInstalled() const = 0;

    /// Runs the client and returns the user's peers. Blocks for as long as the client runs, at most 15
    /// seconds, or until `token` is stopped. Throws MeshVPNProviderError and nothing else of its own.
    [[nodiscard]] virtual std::vector<MeshVPNDevice> listDevices(const StopToken& token) const = 0;
};

}  // namespace quillbay
