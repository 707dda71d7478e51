#include "platform/FileLocations.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/posix/HomeDirectory.h"

namespace quillbay {

namespace {

std::filesystem::path temporaryDirectory() {
    return absolutePathFromEnvironment("TMPDIR").value_or("/tmp");
}

bool isOwnDirectory(const std::filesystem::path& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

}  // namespace

FileLocations FileLocations::system() {
    // The user may be without a home as long as the environment names both directories.
    const auto belowHome = [](const char* variable, const char* fallback) {
        const auto named = absolutePathFromEnvironment(variable);
        return named ? *named : homeDirectory() / fallback;
    };
    FileLocations locations;
    locations.applicationSupport = belowHome("XDG_DATA_HOME", ".local/share");
    locations.configuration = belowHome("XDG_CONFIG_HOME", ".config");
    locations.temporary = temporaryDirectory();
    locations.runtime = runtimeDirectory();
    return locations;
}

std::filesystem::path runtimeDirectory() {
    if (auto named = absolutePathFromEnvironment("XDG_RUNTIME_DIR")) return *named;
    // Where a login makes it, for a program that was started outside of one (by cron, or through su).
    const std::string user = std::to_string(::geteuid());
    std::filesystem::path ofLogin = std::filesystem::path("/run/user") / user;
    if (isOwnDirectory(ofLogin)) return ofLogin;
    return temporaryDirectory() / ("quillbay-" + user);
}

}  // namespace quillbay
