#include "platform/ScratchFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "platform/Files.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view randomPart = "XXXXXX";  // what mkdtemp(3) fills in

/// The folder, locked; nothing when it is locked already, another user's, or no folder.
UniqueDescriptor lockedOwn(const fs::path& path) {
    UniqueDescriptor folder(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status{};
    const bool own = folder.valid() && ::fstat(folder.get(), &status) == 0 && status.st_uid == ::geteuid();
    if (!own || ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) folder.reset();
    return folder;
}

bool isStillThere(int folder) {
    struct stat status{};
    return ::fstat(folder, &status) == 0 && status.st_nlink > 0;
}

void removeWithContent(const fs::path& folder) {
    // A tool that outlived its program for a moment may have put something in meanwhile.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::error_code failure;
        fs::remove_all(folder, failure);
        if (!failure) return;
    }
}

}  // namespace

ScratchFolder::ScratchFolder(const fs::path& parent, const std::string& prefix) {
    makeDirectories(parent);
    constexpr int attempts = 16;  // one is enough unless others clean up in the very same moment
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::string pattern = (parent / (prefix + std::string(randomPart))).string();
        if (::mkdtemp(pattern.data()) == nullptr) throw systemError(errno);
        UniqueDescriptor folder(::open(pattern.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
        const int openError = errno;
        if (!folder.valid() && openError != ENOENT) {
            ::rmdir(pattern.c_str());
            throw systemError(openError);
        }
        // A file system without locks: then nobody can take the folder for left over either.
        const bool held = folder.valid() &&
                          (::flock(folder.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
                          isStillThere(folder.get());
        if (!held) continue;
        path_ = std::move(pattern);
        lock_ = std::move(folder);
        return;
    }
    throw systemError(EAGAIN);
}

ScratchFolder::~ScratchFolder() {
    removeWithContent(path_);
}

void ScratchFolder::removeLeftOver(const fs::path& parent, const std::string& prefix) {
    std::error_code end;
    fs::directory_iterator entries(parent, fs::directory_options::skip_permission_denied, end);
    for (; !end && entries != fs::directory_iterator(); entries.increment(end)) {
        const std::string name = entries->path().filename().string();
        if (name.size() != prefix.size() + randomPart.size() || !name.starts_with(prefix)) continue;
        const UniqueDescriptor folder = lockedOwn(entries->path());
        if (folder.valid()) removeWithContent(entries->path());
    }
}

}  // namespace quillbay
