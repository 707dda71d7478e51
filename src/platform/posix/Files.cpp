#include "platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/PrintedError.h"
#include "platform/UniqueDescriptor.h"
#include "platform/posix/SystemFiles.h"
#include "platform/posix/TemporarySibling.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;

/// The file that a chain of symbolic links names in the end, whether or not it exists.
fs::path behindLinks(fs::path path) {
    constexpr int mostLinks = 40;  // what Linux follows before it speaks of a loop
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code notALink;
        const fs::path target = fs::read_symlink(path, notALink);
        if (notALink) return path;
        path = path.parent_path() / target;
    }
    throw systemError(ELOOP);
}

void writeWhole(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) throw systemError(errno);
        content.remove_prefix(static_cast<std::size_t>(written));
    }
}

fs::path folderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

bool isDirectory(const fs::path& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::optional<std::string> readFile(const fs::path& path, std::size_t limitBytes) {
    // Non-blocking, or a named pipe without a writer would hold the caller for ever.
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (!file.valid() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;

    // The size is only a hint: the file may grow meanwhile, and the system's own tables report none at all.
    constexpr std::size_t smallest = 4096;
    const auto size = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
    if (size > limitBytes) return std::nullopt;
    std::string content(std::max(smallest, size + 1), '\0');
    std::size_t length = 0;
    while (true) {
        const ssize_t count = ::read(file.get(), content.data() + length, content.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
        if (length > limitBytes) return std::nullopt;
        if (length == content.size()) content.resize(2 * content.size());
    }
    content.resize(length);
    return content;
}

void replaceFile(const fs::path& path, std::string_view content) {
    const fs::path target = behindLinks(path);
    const UniqueDescriptor directory(::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.valid()) throw systemError(errno);

    TemporarySibling file(directory.get(), target.filename().string());
    writeWhole(file.descriptor(), content);
    if (syncToDisk(file.descriptor()) != 0) throw systemError(errno);
    file.takePlaceOfTarget();
    // A refusal is no failure: the file is replaced, and only a power cut in the next seconds could still
    // bring the old one back. Some file systems cannot do this for directories.
    static_cast<void>(::fsync(directory.get()));
}

void removeLeftOverParts(const fs::path& path) {
    try {
        const fs::path target = behindLinks(path);
        const UniqueDescriptor directory(
            ::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.valid()) TemporarySibling::removeLeftOvers(directory.get(), target.filename().string());
    } catch (const std::system_error&) {
        // A path that leads nowhere has nothing beside it.
    }
}

void makeDirectories(const fs::path& path) {
    if (::mkdir(path.c_str(), 0700) == 0) return;
    int error = errno;
    if (error == ENOENT && path.has_parent_path() && path.parent_path() != path) {
        makeDirectories(path.parent_path());
        if (::mkdir(path.c_str(), 0700) == 0) return;
        error = errno;
    }
    // Whatever the reason given (an existing directory may also be said to be on a read-only disk): it is
    // there.
    if (!isDirectory(path)) throw systemError(error);
}

bool isExecutableFile(const fs::path& path) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    return ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

}  // namespace quillbay
