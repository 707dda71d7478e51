#include "platform/AsioMainQueue.h"

#include <algorithm>
#include <boost/asio/post.hpp>

namespace quillbay {

AsioMainQueue::AsioMainQueue() : work_(context_.get_executor()), thread_(std::this_thread::get_id()) {}

void AsioMainQueue::post(Task task) {
    boost::asio::post(context_, std::move(task));
}

bool AsioMainQueue::isCurrent() const {
    return thread_ == std::this_thread::get_id();
}

void AsioMainQueue::run() {
    thread_ = std::this_thread::get_id();
    context_.run();
}

void AsioMainQueue::stop() {
    context_.stop();
}

bool AsioMainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    // `done` may depend on state that other threads change without posting, so it is also asked at intervals.
    constexpr std::chrono::milliseconds pause{2};
    thread_ = std::this_thread::get_id();
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (context_.stopped() || std::chrono::steady_clock::now() >= deadline) return false;
        context_.run_one_for(pause);
    }
    return true;
}

}  // namespace quillbay
