#include "platform/posix/HomeDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace quillbay {

std::optional<std::filesystem::path> absolutePathFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    std::filesystem::path path(value);
    if (!path.is_absolute()) return std::nullopt;
    return path;
}

std::filesystem::path homeDirectory() {
    if (auto home = absolutePathFromEnvironment("HOME")) return *home;
    std::array<char, 16384> texts{};  // larger than any entry that the databases in use hold
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, texts.data(), texts.size(), &found) == 0 && found != nullptr) {
        std::filesystem::path home(found->pw_dir);
        if (home.is_absolute()) return home;
    }
    throw std::runtime_error("This user has no home directory.");
}

}  // namespace quillbay
