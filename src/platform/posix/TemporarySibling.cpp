#include "platform/posix/TemporarySibling.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

constexpr std::string_view suffix = ".quillbay-partial";
constexpr std::size_t randomBytes = 8;

/// What all temporary files of a target begin with. A long name is cut: file systems take 255 bytes in all.
std::string prefixFor(const std::string& target) {
    constexpr std::size_t longest = 200;
    return "." + target.substr(0, longest) + ".";
}

std::string randomDigits() {
    std::array<unsigned char, randomBytes> bytes{};
    if (::getentropy(bytes.data(), bytes.size()) != 0) throw systemError(errno);
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

bool isTemporaryName(std::string_view name, std::string_view prefix) {
    if (name.size() != prefix.size() + 2 * randomBytes + suffix.size()) return false;
    if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
    const std::string_view middle = name.substr(prefix.size(), 2 * randomBytes);
    return middle.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Best effort: a left-over file that cannot be removed is in nobody's way.
void removeIfLeftOver(int directory, const char* name) {
    // Never waits: neither for another program behind a pipe of that name, nor for a living writer.
    const UniqueDescriptor file(::openat(directory, name, O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.valid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlinkat(directory, name, 0);
}

void removeAllLeftOver(int directory, std::string_view prefix) {
    // A descriptor of its own, because reading a directory moves the position that duplicates share.
    const int descriptor = ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(descriptor), &::closedir);
    if (!entries) {
        ::close(descriptor);
        return;
    }
    while (const dirent* entry = ::readdir(entries.get())) {
        const char* name = &entry->d_name[0];
        if (isTemporaryName(name, prefix)) removeIfLeftOver(directory, name);
    }
}

/// False when another writer took the file for a left-over one between its creation and the lock.
bool lockWhileItIsThere(int descriptor) {
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        // A file system without locks: then nobody can take the file for left over either.
        return errno != EWOULDBLOCK;
    }
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

}  // namespace

TemporarySibling::TemporarySibling(int directory, const std::string& target)
    : directory_(directory), target_(target) {
    const std::string prefix = prefixFor(target);
    removeAllLeftOver(directory, prefix);
    constexpr int attempts = 16;  // one is enough unless others clean up in the very same moment
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::string name = prefix + randomDigits() + std::string(suffix);
        UniqueDescriptor file(
            ::openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file.valid() && errno != EEXIST) throw systemError(errno);
        if (!file.valid() || !lockWhileItIsThere(file.get())) continue;
        name_ = std::move(name);
        descriptor_ = std::move(file);
        return;
    }
    throw systemError(EAGAIN);
}

void TemporarySibling::removeLeftOvers(int directory, const std::string& target) {
    removeAllLeftOver(directory, prefixFor(target));
}

TemporarySibling::~TemporarySibling() {
    if (!name_.empty()) ::unlinkat(directory_, name_.c_str(), 0);
}

void TemporarySibling::takePlaceOfTarget() {
    if (::renameat(directory_, name_.c_str(), directory_, target_.c_str()) != 0) throw systemError(errno);
    name_.clear();
}

}  // namespace quillbay
