#include "core/LogWriter.h"

#include <fmt/format.h>

#include <future>
#include <utility>

namespace quillbay {

LogWriter::LogWriter(SerialQueue queue, LogFile file) : queue_(std::move(queue)), file_(std::move(file)) {}

void LogWriter::submit(const std::string& entry, std::size_t timestampLength) {
    if (mustDrop(entry.size())) {
        ++dropped_;
        lastDroppedAt_ = entry.substr(0, timestampLength);
        return;
    }
    noteDropped();
    post(entry);
}

bool LogWriter::mustDrop(std::size_t bytes) const {
    // Once lines are missing, waiting for half keeps the gaps few and long: one note each, not one for every
    // line.
    const std::size_t share = dropped_ > 0 ? 2 : 1;
    const std::size_t lines = waiting_->lines.load();
    return lines >= maxWaitingLines / share ||
           (lines > 0 && waiting_->bytes.load() + bytes > maxWaitingBytes / share);
}

void LogWriter::noteDropped() {
    if (dropped_ == 0) return;
    post(fmt::format("{}  {} log line(s) dropped here: the disk did not keep up", lastDroppedAt_, dropped_));
    dropped_ = 0;
}

void LogWriter::post(std::string entry) {
    waiting_->lines += 1;
    waiting_->bytes += entry.size();
    queue_.post([file = file_, waiting = waiting_, entry = std::move(entry)] {
        file.append(entry);
        waiting->lines -= 1;
        waiting->bytes -= entry.size();
    });
}

bool LogWriter::flush(std::chrono::milliseconds limit) {
    noteDropped();
    const auto written = std::make_shared<std::promise<void>>();
    std::future<void> future = written->get_future();
    queue_.post([written] { written->set_value(); });
    return future.wait_for(limit) == std::future_status::ready;
}

}  // namespace quillbay
