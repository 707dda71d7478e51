#include "platform/FileLocations.h"

#include <sys/param.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>

#include "platform/posix/HomeDirectory.h"

namespace quillbay {

namespace {

std::optional<std::filesystem::path> userTemporaryDirectory() {
    std::array<char, MAXPATHLEN> path{};
    const std::size_t length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
    if (length == 0 || length > path.size()) return std::nullopt;
    return path.data();
}

std::filesystem::path temporaryDirectory() {
    if (auto named = absolutePathFromEnvironment("TMPDIR")) return *named;
    return userTemporaryDirectory().value_or("/tmp");
}

}  // namespace

FileLocations FileLocations::system() {
    const std::filesystem::path library = homeDirectory() / "Library";
    return {library / "Application Support", library / "Preferences", temporaryDirectory(),
            runtimeDirectory()};
}

std::filesystem::path runtimeDirectory() {
    // Not `$TMPDIR`, which a terminal may have changed: every program of the user must come to the same one.
    if (auto own = userTemporaryDirectory()) return *own;
    return std::filesystem::path("/tmp") / ("quillbay-" + std::to_string(::geteuid()));
}

}  // namespace quillbay
