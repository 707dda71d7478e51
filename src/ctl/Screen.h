#pragma once

#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>

namespace quillbay::ctl {

/// Whether a line of progress stands on the terminal, for a signal handler that ends the process.
inline volatile std::sig_atomic_t progressIsShown = 0;

/// Standard output, with one line of progress that is written over again and again where it is a terminal.
/// A reader that goes away is no error: the rest is then printed nowhere.
class Screen {
 public:
    Screen();

    [[nodiscard]] bool isTerminal() const { return isTerminal_; }
    [[nodiscard]] bool readerIsGone() const { return readerIsGone_; }

    /// Prints whole lines, in the place of the progress. Throws std::system_error when they cannot be
    /// written.
    void print(std::string_view lines);

    /// Shows the line on a terminal, and nothing elsewhere.
    void showProgress(std::string_view line);

    /// Leaves no progress behind.
    void clearProgress();

 private:
    void write(std::string_view text);
    bool isTerminal_;
    bool readerIsGone_ = false;
    std::size_t progressWidth_ = 0;
};

}  // namespace quillbay::ctl
