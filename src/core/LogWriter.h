#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "core/LogFile.h"
#include "platform/SerialQueue.h"

namespace quillbay {

/// Hands the lines of the log to its file on a queue, in their order, without ever making the caller wait.
///
/// A disk that hangs or is too slow cannot fill the memory: at the bounds below, lines are dropped until half
/// of what waits has been written, and a line in the file then says how many. Called on one thread; the queue
/// is another.
class LogWriter {
 public:
    /// What may wait for the disk. A burst of a bridge's start is a few hundred lines.
    static constexpr std::size_t maxWaitingLines = 100'000;
    static constexpr std::size_t maxWaitingBytes = std::size_t{64} * 1024 * 1024;

    LogWriter(SerialQueue queue, LogFile file);

    /// `entry` is the line with its timestamp, which is its first `timestampLength` bytes.
    void submit(const std::string& entry, std::size_t timestampLength);

    /// Waits until everything submitted so far has been written or given up. False when `limit` came first.
    bool flush(std::chrono::milliseconds limit);

 private:
    struct Waiting {
        std::atomic<std::size_t> lines = 0;
        std::atomic<std::size_t> bytes = 0;
    };

    [[nodiscard]] bool mustDrop(std::size_t bytes) const;
    void noteDropped();
    void post(std::string entry);

    SerialQueue queue_;
    LogFile file_;
    std::shared_ptr<Waiting> waiting_ = std::make_shared<Waiting>();
    std::size_t dropped_ = 0;
    std::string lastDroppedAt_;
};

}  // namespace quillbay
