#include "core/CaptureInbox.h"

#include <utility>

#include "core/CapturedServices.h"

namespace quillbay {

namespace {

constexpr std::size_t maxLines = 1'000;

}  // namespace

CaptureInbox::CaptureInbox(MainQueue& mainQueue, std::function<void(Content)> deliver)
    : mainQueue_(mainQueue), deliver_(std::move(deliver)) {}

void CaptureInbox::putService(CapturedBonjourService service) {
    const std::lock_guard lock(mutex_);
    const auto waiting = newestByHost_.find(service.host);
    const bool isNew = waiting == newestByHost_.end();
    const std::size_t bytes =
        bytes_ - (isNew ? 0 : CapturedServices::cost(waiting->second)) + CapturedServices::cost(service);
    if (bytes > CapturedServices::maxBytes) return;
    if (isNew && newestByHost_.size() >= CapturedServices::maxServices) return;
    bytes_ = bytes;
    if (!isNew) {
        waiting->second = std::move(service);
    } else {
        std::string host = service.host;
        newestByHost_.emplace(std::move(host), std::move(service));
    }
    postDelivery();
}

void CaptureInbox::putLine(std::string line) {
    const std::lock_guard lock(mutex_);
    if (lines_.size() >= maxLines) return;
    lines_.push_back(std::move(line));
    postDelivery();
}

void CaptureInbox::postDelivery() {
    if (std::exchange(posted_, true)) return;
    mainQueue_.post([self = shared_from_this()] { self->deliver_(self->take()); });
}

CaptureInbox::Content CaptureInbox::take() {
    const std::lock_guard lock(mutex_);
    posted_ = false;
    Content content;
    content.services.reserve(newestByHost_.size());
    for (auto& [host, service] : newestByHost_)
        content.services.push_back(std::move(service));
    newestByHost_.clear();
    bytes_ = 0;
    content.lines = std::exchange(lines_, {});
    return content;
}

}  // namespace quillbay
