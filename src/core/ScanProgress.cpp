#include "core/ScanProgress.h"

#include <utility>

namespace quillbay {

namespace {

constexpr std::chrono::milliseconds pauseBetweenTellings{100};

}  // namespace

ScanProgress::ScanProgress(MainQueue& mainQueue, const Clock& clock,
                           std::function<void(std::size_t probed)> tell)
    : mainQueue_(mainQueue), clock_(clock), tell_(std::move(tell)) {}

void ScanProgress::portProbed() {
    const auto now = clock_.steadyNow();
    const std::lock_guard lock(mutex_);
    ++probed_;
    if (posted_ || now < nextTelling_) return;
    posted_ = true;
    nextTelling_ = now + pauseBetweenTellings;
    mainQueue_.post([self = shared_from_this()] { self->deliver(); });
}

std::size_t ScanProgress::probed() const {
    const std::lock_guard lock(mutex_);
    return probed_;
}

void ScanProgress::deliver() {
    std::size_t count = 0;
    {
        const std::lock_guard lock(mutex_);
        posted_ = false;
        count = probed_;
    }
    tell_(count);
}

}  // namespace quillbay
