#include "ctl/Screen.h"

#include <unistd.h>

#include <cerrno>

#include "platform/PrintedError.h"

namespace quillbay::ctl {

Screen::Screen() : isTerminal_(::isatty(STDOUT_FILENO) == 1) {}

void Screen::print(std::string_view lines) {
    clearProgress();
    write(lines);
}

void Screen::showProgress(std::string_view line) {
    if (!isTerminal_) return;
    std::string text = "\r" + std::string(line);
    if (progressWidth_ > line.size()) text.append(progressWidth_ - line.size(), ' ');
    progressWidth_ = line.size();
    progressIsShown = 1;
    write(text);
}

void Screen::clearProgress() {
    if (progressWidth_ == 0) return;
    write("\r" + std::string(progressWidth_, ' ') + "\r");
    progressWidth_ = 0;
    progressIsShown = 0;
}

void Screen::write(std::string_view text) {
    while (!text.empty() && !readerIsGone_) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EPIPE)
            readerIsGone_ = true;
        else if (count < 0)
            throw systemError(errno);
        else
            text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace quillbay::ctl
