#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "providers/MeshVPNProvider.h"

namespace quillbay {

/// Where a provider's command-line client is. Has a lock because the user's edit of the path comes from the
/// main thread while the client is used on another.
class BinaryPath {
 public:
    /// `given` is used as it stands; without it, the client is looked for where `type` says.
    BinaryPath(const MeshVPNProviderType& type, std::optional<std::string> given,
               ExecutableTest isExecutable);

    [[nodiscard]] std::string get() const;
    void set(std::string path);

    /// The path if it names an executable file now.
    [[nodiscard]] std::optional<std::string> executable() const;

 private:
    ExecutableTest isExecutable_;
    mutable std::mutex mutex_;
    std::string path_;
};

}  // namespace quillbay
