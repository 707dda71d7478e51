#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// The last `characters` user-perceived characters of a log; nothing when `text` is not valid UTF-8.
std::optional<std::string> trimmedLog(std::string_view text, std::size_t characters);

/// A text file that lines are appended to, and that is cut back to its last `maxBytes / 2` characters when it
/// gets larger than `maxBytes`. It is opened, written and closed for every line, so it may be moved away at
/// any time. Used on one queue. No failure is ever reported: a line that cannot be written is lost.
class LogFile {
 public:
    LogFile(std::filesystem::path path, std::int64_t maxBytes);

    /// The whole text; nothing when there is none that can be read or it is not valid UTF-8.
    [[nodiscard]] std::optional<std::string> read() const;

    /// Appends `line` and a line feed, both or neither, then trims the file if it has become too large.
    void append(std::string_view line) const;

 private:
    /// The size of the file after the line was appended; nothing when it was not.
    [[nodiscard]] std::optional<std::int64_t> write(std::string_view line) const;
    void trim() const;

    std::filesystem::path path_;
    std::int64_t maxBytes_;
};

}  // namespace quillbay
