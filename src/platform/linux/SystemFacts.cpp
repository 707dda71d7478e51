#include "platform/SystemFacts.h"

#include <sys/utsname.h>

#include <filesystem>
#include <optional>
#include <string_view>

#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/linux/SettingLines.h"

namespace quillbay {

namespace {

/// A setting of one of the system's own small files; nothing where it is missing or empty.
std::optional<std::string> setting(const std::filesystem::path& file, std::string_view key) {
    constexpr std::size_t limitBytes = std::size_t{64} * 1024;
    const std::optional<std::string> text = readFile(file, limitBytes);
    if (!text) return std::nullopt;
    const std::optional<std::string> value = settingLine(*text, key);
    if (!value || trimmed(*value).empty()) return std::nullopt;
    return trimmed(*value);
}

utsname systemNames() {
    utsname names{};
    ::uname(&names);  // fails for an invalid pointer only
    return names;
}

}  // namespace

std::string operatingSystemVersion() {
    const utsname names = systemNames();
    std::string kernel = std::string(&names.sysname[0]) + " " + &names.release[0];
    for (const char* file : {"/etc/os-release", "/usr/lib/os-release"})
        if (const auto distribution = setting(file, "PRETTY_NAME")) return *distribution + ", " + kernel;
    return kernel;
}

std::string computerName() {
    if (auto name = setting("/etc/machine-info", "PRETTY_HOSTNAME")) return *name;
    const utsname names = systemNames();
    const std::string host = &names.nodename[0];
    return host.empty() ? "localhost" : host;
}

}  // namespace quillbay
