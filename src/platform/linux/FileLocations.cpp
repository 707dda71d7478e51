#include "platform/FileLocations.h"

#include "platform/posix/HomeDirectory.h"

namespace quillbay {

FileLocations FileLocations::system() {
    // The user may be without a home as long as the environment names both directories.
    const auto belowHome = [](const char* variable, const char* fallback) {
        const auto named = absolutePathFromEnvironment(variable);
        return named ? *named : homeDirectory() / fallback;
    };
    FileLocations locations;
    locations.applicationSupport = belowHome("XDG_DATA_HOME", ".local/share");
    locations.configuration = belowHome("XDG_CONFIG_HOME", ".config");
    locations.temporary = absolutePathFromEnvironment("TMPDIR").value_or("/tmp");
    return locations;
}

}  // namespace quillbay
