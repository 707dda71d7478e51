#include "platform/InstanceLock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <string>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

std::string sentence(std::optional<pid_t> pid) {
    if (!pid) return "Quillbay is running already.";
    return fmt::format("Quillbay is running already (process {}).", *pid);
}

/// Tells who holds the lock; for the sentence alone.
std::filesystem::path nameFileIn(const std::filesystem::path& folder) {
    return folder / "pid";
}

std::optional<pid_t> holderOf(const std::filesystem::path& folder) {
    const UniqueDescriptor file(::open(nameFileIn(folder).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    std::array<char, 32> text{};
    const ssize_t length = ::read(file.get(), text.data(), text.size());
    if (length <= 0) return std::nullopt;
    pid_t pid = 0;
    const auto read = std::from_chars(text.data(), text.data() + length, pid);
    if (read.ec != std::errc{} || pid <= 0) return std::nullopt;
    // Whoever has just taken the lock may not have said so yet: this is the word of one that has ended.
    if (::kill(pid, 0) != 0 && errno == ESRCH) return std::nullopt;
    return pid;
}

/// A full disk is no reason to fail.
void sayWhoHolds(const std::filesystem::path& folder) {
    const UniqueDescriptor file(::open(nameFileIn(folder).c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW,
                                       S_IRUSR | S_IWUSR));
    const std::string text = std::to_string(::getpid()) + "\n";
    static_cast<void>(::write(file.get(), text.data(), text.size()) != 0);
}

/// Whether the path still names the open folder: somebody may have tidied it away meanwhile.
bool isStillThere(const std::filesystem::path& path, int folder) {
    struct stat open{};
    struct stat named{};
    return ::fstat(folder, &open) == 0 && ::stat(path.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

/// Nothing when the lock taken is on a folder that is no longer the one.
UniqueDescriptor tryToTake(const std::filesystem::path& path) {
    UniqueDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    if (!folder.valid()) throw systemError(errno);
    while (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno == EWOULDBLOCK) throw AlreadyRunningError(holderOf(path));
        throw systemError(errno);
    }
    if (!isStillThere(path, folder.get())) folder.reset();
    return folder;
}

}  // namespace

AlreadyRunningError::AlreadyRunningError(std::optional<pid_t> pid)
    : std::runtime_error(sentence(pid)), pid_(pid) {}

InstanceLock InstanceLock::take(const std::filesystem::path& folder) {
    while (true) {
        UniqueDescriptor taken = tryToTake(folder);
        if (!taken.valid()) continue;
        sayWhoHolds(folder);
        return InstanceLock(std::move(taken));
    }
}

}  // namespace quillbay
