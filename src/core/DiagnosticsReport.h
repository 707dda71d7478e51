#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/AppLogStore.h"
#include "core/DiagnosticsArchive.h"
#include "platform/Host.h"

namespace quillbay {

/// Packs the diagnostic log and hands it over: to the support team, as a mail for the user to complete, or as
/// a file. Lives on the main queue and is owned by the coordinator; the log is read there, everything that
/// blocks runs in the background. When the owner drops it, reports that are under way end without a word.
///
///     sendToSupport ─ after earlier ones ─ archive
///         made ─ mail with the archive
///             opened ─────────────────────────────────────────── done
///             refused ─ reveal ─ mail without it
///                 opened ─────────────────────── user line ───── done
///                 else ─ mailto: ─────────────── user line ───── done
///             no composer ─ reveal ─ mailto: ─── user line ───── done
///         failed ─────────────────────────────── user line ───── done
class DiagnosticsReport : public std::enable_shared_from_this<DiagnosticsReport> {
 public:
    /// A log of 5,000 lines is packed in well under a second.
    static constexpr std::chrono::minutes zipLimit{2};

    /// `host` and `logs` must outlive the report.
    static std::shared_ptr<DiagnosticsReport> make(const Host& host, AppLogStore& logs,
                                                   std::chrono::milliseconds limitOfZip = zipLimit);

    /// Packs `header` and the log into "quillbay-diagnostics-" + the time + ".zip" in the temporary
    /// directory, where it stays, and opens a mail to the support team with it. Says in the log when
    /// something of that could not be done.
    void sendToSupport(std::string header, std::string emailBody);

    /// Packs `header` and the log into `archive`, an absolute path; a file that is there is replaced in one
    /// step. `done` runs on the main queue, with a sentence when it failed.
    void writeTo(std::filesystem::path archive, std::string header,
                 std::function<void(std::optional<std::string> error)> done);

 private:
    DiagnosticsReport(const Host& host, AppLogStore& logs, std::chrono::milliseconds limitOfZip);

    /// Reports one after the other: each begins when the one before has called the task that it was given.
    struct Line {
        bool busy = false;
        std::deque<std::function<void(Task finished)>> waiting;
    };
    void enqueue(Line DiagnosticsReport::* line, std::function<void(Task finished)> report);
    void begin(Line DiagnosticsReport::* line);

    /// The state of one report to the support team.
    struct Sending;
    using Step = void (DiagnosticsReport::*)(const std::shared_ptr<Sending>& sending);
    void prepare(const std::shared_ptr<Sending>& sending);
    void compose(const std::shared_ptr<Sending>& sending);
    void composeWithoutAttachment(const std::shared_ptr<Sending>& sending);
    void openAddress(const std::shared_ptr<Sending>& sending);
    void reveal(const std::shared_ptr<Sending>& sending, Step next);

    /// Runs `work`, which may throw, in the background and `done` on the main queue with its error.
    void inBackground(const std::function<void(const StopToken&)>& work,
                      const std::function<void(std::optional<std::string> error)>& done);
    [[nodiscard]] std::string textWith(const std::string& header) const;

    const Host& host_;
    AppLogStore& logs_;
    DiagnosticsArchive archive_;
    /// Apart, because a mail may wait for the user for long.
    Line sending_;
    Line writing_;
};

}  // namespace quillbay
