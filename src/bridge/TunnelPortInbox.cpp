#include "bridge/TunnelPortInbox.h"

#include <algorithm>
#include <utility>

namespace quillbay {

bool TunnelPortInbox::put(std::uint16_t port) {
    const std::lock_guard lock(mutex_);
    if (waiting_.test(port)) return false;
    waiting_.set(port);
    ports_.push_back(port);
    return std::exchange(isTaken_, false);
}

TunnelPortInbox::Content TunnelPortInbox::take() {
    const std::lock_guard lock(mutex_);
    const auto end = ports_.begin() + static_cast<std::ptrdiff_t>(std::min(ports_.size(), mostAtOnce));
    Content content{{ports_.begin(), end}, end != ports_.end()};
    ports_.erase(ports_.begin(), end);
    for (const std::uint16_t port : content.ports)
        waiting_.reset(port);
    isTaken_ = !content.moreWait;
    return content;
}

}  // namespace quillbay
