#include "core/LogFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <utility>

#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/UniqueDescriptor.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

// A file that outgrew the limit by this much was not written by this class, and is not read into memory.
constexpr std::size_t readLimitBytes = std::size_t{256} * 1024 * 1024;

bool writeWhole(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

std::optional<std::string> trimmedLog(std::string_view text, std::size_t characters) {
    if (!isValidUtf8(text)) return std::nullopt;
    return lastCharacters(text, characters);
}

LogFile::LogFile(std::filesystem::path path, std::int64_t maxBytes)
    : path_(std::move(path)), maxBytes_(maxBytes) {}

std::optional<std::string> LogFile::read() const {
    std::optional<std::string> text = readFile(path_, readLimitBytes);
    if (!text || !isValidUtf8(*text)) return std::nullopt;
    return text;
}

void LogFile::append(std::string_view line) const {
    const std::optional<std::int64_t> size = write(line);
    if (size && *size > maxBytes_) trim();
}

std::optional<std::int64_t> LogFile::write(std::string_view line) const {
    // Non-blocking, because a pipe of this name would otherwise hold the queue for ever.
    const UniqueDescriptor file(
        ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!file.valid()) return std::nullopt;
    const off_t before = ::lseek(file.get(), 0, SEEK_END);
    if (before < 0) return std::nullopt;
    std::string bytes;
    bytes.reserve(line.size() + 1);
    bytes.append(line).append(1, '\n');
    if (!writeWhole(file.get(), bytes)) {
        // On a full disk the beginning of the line may have gone in. Half a character at its end would make
        // the whole file unreadable as text, for ever.
        [[maybe_unused]] const int nothingLeftToTry = ::ftruncate(file.get(), before);
        return std::nullopt;
    }
    const off_t after = ::lseek(file.get(), 0, SEEK_CUR);
    if (after < 0) return std::nullopt;
    return after;
}

void LogFile::trim() const {
    const std::optional<std::string> text = readFile(path_, readLimitBytes);
    if (!text) return;
    const std::optional<std::string> kept = trimmedLog(*text, static_cast<std::size_t>(maxBytes_ / 2));
    if (!kept || kept->size() == text->size()) return;
    try {
        replaceFile(path_, *kept);
    } catch (const std::exception&) {
        // The file stays as it is, whole, and the next line tries again.
    }
}

}  // namespace quillbay
