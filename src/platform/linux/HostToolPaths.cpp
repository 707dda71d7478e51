#include "platform/linux/HostToolPaths.h"

#include <system_error>

namespace quillbay {

namespace {

namespace fs = std::filesystem;

bool isInstalled(const fs::path& tool) {
    std::error_code error;  // a folder that cannot be looked into holds no tool that could be started
    return fs::is_regular_file(tool, error);
}

}  // namespace

HostTools hostToolsBelow(const fs::path& root, const fs::path& programDirectory) {
    HostTools tools;
    const fs::path dnsSD = root / "usr/bin/dns-sd";
    const fs::path bundled = (programDirectory / "../libexec/quillbay/dns-sd").lexically_normal();
    tools.dnsSD.executable = isInstalled(dnsSD) ? dnsSD : bundled;

    const fs::path log = root / "usr/bin/log";
    if (isInstalled(log))
        tools.logFollower = {log, logStreamArguments()};
    else
        tools.logFollower = {root / "usr/bin/journalctl",
                             {"--follow", "--lines=0", "--output=cat", "--identifier=remotepairingd"}};

    tools.xcrun.executable = root / "usr/bin/xcrun";
    tools.ps.executable = root / "bin/ps";
    // Whole lines, whatever width a terminal once had, and names as they are: an instance name is looked for
    // in them.
    tools.ps.environment = {{"COLUMNS", std::nullopt}, {"LC_ALL", "C.UTF-8"}};
    tools.zip.executable = root / "usr/bin/zip";
    // Options that a person has set for their own archives, such as one that deletes what was packed.
    tools.zip.environment = {{"ZIPOPT", std::nullopt}, {"ZIP", std::nullopt}};
    tools.opener.executable = root / "usr/bin/xdg-open";
    tools.mailComposer.executable = root / "usr/bin/xdg-email";
    return tools;
}

HostTools HostTools::system(const fs::path& programDirectory) {
    return hostToolsBelow("/", programDirectory);
}

fs::path programDirectory() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace quillbay
