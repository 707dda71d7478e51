#include "platform/LineBuffer.h"

namespace quillbay {

void LineBuffer::append(std::string_view text, const std::function<void(std::string_view)>& onLine) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const bool complete = end != std::string_view::npos;
        const std::string_view piece = text.substr(0, end);
        text.remove_prefix(complete ? end + 1 : text.size());

        if (unfinished_.size() + piece.size() > limitBytes_) dropping_ = true;
        if (dropping_) {
            unfinished_.clear();
        } else if (!complete) {
            unfinished_ += piece;
        } else if (unfinished_.empty()) {
            onLine(piece);
        } else {
            unfinished_ += piece;
            const std::string line = std::move(unfinished_);
            unfinished_.clear();
            onLine(line);
        }
        if (complete) dropping_ = false;
    }
}

void LineBuffer::clear() {
    unfinished_.clear();
    dropping_ = false;
}

}  // namespace quillbay
