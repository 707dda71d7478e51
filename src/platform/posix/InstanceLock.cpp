#include "platform/InstanceLock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

std::string sentence(std::optional<pid_t> pid) {
    if (!pid) return "Quillbay is running already.";
    return fmt::format("Quillbay is running already (process {}).", *pid);
}

std::optional<pid_t> holderOf(int file) {
    std::array<char, 32> text{};
    const ssize_t length = ::pread(file, text.data(), text.size(), 0);
    if (length <= 0) return std::nullopt;
    pid_t pid = 0;
    const auto read = std::from_chars(text.data(), text.data() + length, pid);
    if (read.ec != std::errc{} || pid <= 0) return std::nullopt;
    return pid;
}

/// Whether the path still names the open file: somebody may have tidied it away meanwhile.
bool isStillThere(const std::filesystem::path& path, int file) {
    struct stat open{};
    struct stat named{};
    return ::fstat(file, &open) == 0 && ::stat(path.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

/// Nothing when the lock taken is on a file that is no longer the one.
UniqueDescriptor tryToTake(const std::filesystem::path& path) {
    UniqueDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!file.valid()) throw systemError(errno);
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno == EWOULDBLOCK) throw AlreadyRunningError(holderOf(file.get()));
        throw systemError(errno);
    }
    if (!isStillThere(path, file.get())) file.reset();
    return file;
}

/// For the sentence alone, so a full disk is no reason to fail.
void sayWhoHolds(int file) {
    const std::string text = std::to_string(::getpid()) + "\n";
    if (::ftruncate(file, 0) == 0) static_cast<void>(::pwrite(file, text.data(), text.size(), 0) != 0);
}

}  // namespace

AlreadyRunningError::AlreadyRunningError(std::optional<pid_t> pid)
    : std::runtime_error(sentence(pid)), pid_(pid) {}

InstanceLock InstanceLock::take(const std::filesystem::path& folder) {
    // The file stays when the lock goes: removing it would let two programs lock two files of one name.
    const std::filesystem::path path = folder / "lock";
    while (true) {
        UniqueDescriptor file = tryToTake(path);
        if (!file.valid()) continue;
        sayWhoHolds(file.get());
        return InstanceLock(std::move(file));
    }
}

}  // namespace quillbay
