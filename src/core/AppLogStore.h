#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <string_view>

#include "core/LogTimestamp.h"
#include "core/LogWriter.h"
#include "platform/Clock.h"
#include "platform/FileLocations.h"
#include "platform/Observers.h"

namespace quillbay {

/// The one log of the system. User lines are short sentences for the person at the screen; diagnostic lines
/// are everything, with a timestamp, kept in memory and appended to a file. Every user line is also a
/// diagnostic line. Used on the main thread; the file is written on a queue of its own,
/// "app.quillbay.diagnostic-log", and no failure of that is ever reported. Destruction waits until the file
/// has everything; a program that must not wait for a hanging disk calls `flush` and exits.
class AppLogStore {
 public:
    static constexpr std::int64_t maxUserLines = 200;
    static constexpr std::int64_t maxDiagnosticLines = 5000;
    static constexpr std::int64_t maxFileBytes = 2'097'152;

    /// Reads the file of earlier runs.
    AppLogStore(const FileLocations& files, const Clock& clock);

    // Text is kept as it is given, line feeds included; only what is not UTF-8 is replaced by U+FFFD, because
    // one such byte would make the whole file unreadable at the next start.
    void user(std::string_view text);
    void diagnostic(std::string_view text);

    /// Oldest first, without timestamps.
    [[nodiscard]] const std::deque<std::string>& userLines() const { return userLines_; }
    /// Oldest first, as in the file.
    [[nodiscard]] const std::deque<std::string>& diagnosticLines() const { return diagnosticLines_; }

    /// Told just before `userLines` changes.
    Observers<> userLinesWillChange;
    /// Told every line just after it was recorded.
    Observers<std::string> userLineAdded;
    Observers<std::string> diagnosticLineAdded;

    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

    /// Waits until everything logged so far has reached the file. For an orderly end. False when the disk was
    /// not done within `limit`.
    bool flush(std::chrono::milliseconds limit = std::chrono::seconds(2));

 private:
    void loadExistingFileIntoMemory();

    std::deque<std::string> userLines_;
    std::deque<std::string> diagnosticLines_;
    std::filesystem::path fileURL_;
    const Clock& clock_;
    LogTimestamp timestamp_;
    LogFile file_;
    LogWriter writer_;
};

}  // namespace quillbay
