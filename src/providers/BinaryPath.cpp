#include "providers/BinaryPath.h"

#include <utility>

#include "platform/ToolPaths.h"

namespace quillbay {

std::string MeshVPNProviderType::defaultBinaryPath(const ExecutableTest& isExecutable) const {
    for (const std::string& candidate : candidatePaths) {
        if (isExecutable(candidate)) return candidate;
    }
    const std::string program = std::filesystem::path(fallbackPath).filename();
    for (const std::string& candidate : packagedToolPaths(program)) {
        if (isExecutable(candidate)) return candidate;
    }
    return fallbackPath;
}

BinaryPath::BinaryPath(const MeshVPNProviderType& type, std::optional<std::string> given,
                       ExecutableTest isExecutable)
    : isExecutable_(std::move(isExecutable)),
      path_(given ? *std::move(given) : type.defaultBinaryPath(isExecutable_)) {}

std::string BinaryPath::get() const {
    const std::lock_guard lock(mutex_);
    return path_;
}

void BinaryPath::set(std::string path) {
    const std::lock_guard lock(mutex_);
    path_ = std::move(path);
}

std::optional<std::string> BinaryPath::executable() const {
    std::string path = get();
    if (!isExecutable_(path)) return std::nullopt;
    return path;
}

}  // namespace quillbay
