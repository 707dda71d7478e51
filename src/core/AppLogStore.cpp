#include "core/AppLogStore.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

void keepNewest(std::deque<std::string>& lines, std::int64_t most) {
    while (lines.size() > static_cast<std::size_t>(most))
        lines.pop_front();
}

std::filesystem::path preparedLogFile(const FileLocations& files) {
    const std::filesystem::path folder = files.applicationSupport / applicationFolder;
    try {
        makeDirectories(folder);
    } catch (const std::exception&) {
        // The log then lives in memory only, which the diagnostics report can still send.
    }
    std::filesystem::path file = folder / "diagnostics.log";
    removeLeftOverParts(file);
    return file;
}

}  // namespace

AppLogStore::AppLogStore(const FileLocations& files, const Clock& clock)
    : fileURL_(preparedLogFile(files)),
      clock_(clock),
      file_(fileURL_, maxFileBytes),
      writer_(SerialQueue::withOwnThread("app.quillbay.diagnostic-log"), file_) {
    loadExistingFileIntoMemory();
}

void AppLogStore::loadExistingFileIntoMemory() {
    const std::optional<std::string> text = file_.read();
    if (!text || text->empty()) return;
    // From the end, because only the newest pieces are kept. The piece after the last line feed is one too.
    std::string_view rest = *text;
    for (std::int64_t pieces = 0; pieces < maxDiagnosticLines; ++pieces) {
        const std::size_t lineFeed = rest.rfind('\n');
        const bool isFirst = lineFeed == std::string_view::npos;
        diagnosticLines_.emplace_front(isFirst ? rest : rest.substr(lineFeed + 1));
        if (isFirst) break;
        rest = rest.substr(0, lineFeed);
    }
}

void AppLogStore::user(std::string_view text) {
    std::string line = wellFormedUtf8(text);
    userLinesWillChange.notify();
    userLines_.push_back(line);
    keepNewest(userLines_, maxUserLines);
    userLineAdded.notify(line);
    diagnostic("USER  " + line);
}

void AppLogStore::diagnostic(std::string_view text) {
    const std::string& timestamp = timestamp_.format(clock_.now());
    const std::size_t timestampLength = timestamp.size();
    const std::string entry = timestamp + "  " + wellFormedUtf8(text);
    diagnosticLines_.push_back(entry);
    keepNewest(diagnosticLines_, maxDiagnosticLines);
    writer_.submit(entry, timestampLength);
    diagnosticLineAdded.notify(entry);
}

bool AppLogStore::flush(std::chrono::milliseconds limit) {
    return writer_.flush(limit);
}

}  // namespace quillbay
