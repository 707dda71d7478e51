#include "platform/RuntimeFolder.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;

constexpr const char* folderName = "quillbay";

void makeDirectory(const fs::path& path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw std::runtime_error(
            fmt::format("The folder {} cannot be made: {}", path.native(), printedError(systemError(errno))));
}

/// The status of the thing itself: a link that somebody has put there is not followed.
struct stat directoryStatus(const fs::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) throw systemError(errno);
    if (!S_ISDIR(status.st_mode)) throw std::runtime_error(fmt::format("{} is not a folder.", path.native()));
    return status;
}

/// In a directory that another user controls, the folder could be exchanged after it was looked at.
void checkSurroundings(const fs::path& runtime) {
    struct stat status{};
    if (::stat(runtime.c_str(), &status) != 0) throw systemError(errno);
    const bool ofAnother = status.st_uid != ::geteuid() && status.st_uid != 0;
    const bool open = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (status.st_mode & S_ISVTX) == 0;
    if (ofAnother || open)
        throw std::runtime_error(
            fmt::format("The folder {} can be changed by other users.", runtime.native()));
}

}  // namespace

fs::path prepareRuntimeFolder(const fs::path& runtime) {
    makeDirectory(runtime);
    checkSurroundings(runtime);
    fs::path folder = runtime / folderName;
    makeDirectory(folder);
    const struct stat status = directoryStatus(folder);
    if (status.st_uid != ::geteuid())
        throw std::runtime_error(fmt::format("The folder {} belongs to another user.", folder.native()));
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw std::runtime_error(
            fmt::format("Other users can get into the folder {} (mode {:04o}, not 0700).", folder.native(),
                        status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO | S_ISVTX | S_ISUID | S_ISGID)));
    return folder;
}

fs::path controlSocketPath(const fs::path& runtime) {
    return runtime / folderName / "control.sock";
}

}  // namespace quillbay
