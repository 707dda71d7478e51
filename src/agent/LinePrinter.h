#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace quillbay {

/// Prints lines on standard output from a thread of its own: a terminal that is held (Ctrl-S) or a pipe that
/// nobody reads must not hold up who prints. All members are called on one thread.
class LinePrinter {
 public:
    /// What may wait for the reader; beyond that the oldest lines are not printed. The log has them all.
    static constexpr std::size_t maxWaitingLines = 1000;

    /// Throws std::system_error when the system has no thread to give.
    LinePrinter();

    /// Waits until everything is printed, but not long for a reader that does not read.
    ~LinePrinter();
    LinePrinter(const LinePrinter&) = delete;
    LinePrinter& operator=(const LinePrinter&) = delete;

    /// Prints `line` as `printable` gives it (platform/PrintableText.h), and a line feed. A reader that has
    /// gone is no error.
    void print(const std::string& line);

 private:
    struct State;
    static void run(State& state);
    std::shared_ptr<State> state_;
};

}  // namespace quillbay
