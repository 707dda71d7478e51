#include <mach-o/dyld.h>

#include <cstdint>
#include <string>

#include "platform/HostTools.h"

namespace quillbay {

namespace fs = std::filesystem;

HostTools HostTools::system(const fs::path& /*programDirectory*/) {
    HostTools tools;
    tools.dnsSD.executable = "/usr/bin/dns-sd";
    tools.logFollower = {"/usr/bin/log", logStreamArguments()};
    tools.xcrun.executable = "/usr/bin/xcrun";
    tools.ps.executable = "/bin/ps";
    // Whole lines, whatever width a terminal once had, and names as they are: an instance name is looked for
    // in them.
    tools.ps.environment = {{"COLUMNS", std::nullopt}, {"LC_ALL", "en_US.UTF-8"}};
    tools.zip.executable = "/usr/bin/zip";
    // Options that a person has set for their own archives, such as one that deletes what was packed.
    tools.zip.environment = {{"ZIPOPT", std::nullopt}, {"ZIP", std::nullopt}};
    tools.opener.executable = "/usr/bin/open";
    return tools;
}

fs::path programDirectory() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);  // fails, and says how long the path is
    std::string path(size, '\0');
    _NSGetExecutablePath(path.data(), &size);
    return fs::canonical(path.c_str()).parent_path();
}

}  // namespace quillbay
