#include "platform/FileLocations.h"

#include <sys/param.h>
#include <unistd.h>

#include <array>

#include "platform/posix/HomeDirectory.h"

namespace quillbay {

namespace {

std::filesystem::path temporaryDirectory() {
    if (auto named = absolutePathFromEnvironment("TMPDIR")) return *named;
    std::array<char, MAXPATHLEN> path{};
    const std::size_t length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
    if (length > 0 && length <= path.size()) return path.data();
    return "/tmp";
}

}  // namespace

FileLocations FileLocations::system() {
    const std::filesystem::path library = homeDirectory() / "Library";
    return {library / "Application Support", library / "Preferences", temporaryDirectory()};
}

}  // namespace quillbay
