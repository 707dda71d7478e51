#include "platform/AsioMainQueue.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <utility>

namespace quillbay {

namespace {

/// Waits on the loop. A wait that was cancelled too late, its handler being queued already, finds no task any
/// more.
class AsioMainTimer final : public MainTimer {
 public:
    AsioMainTimer(boost::asio::io_context& context, std::chrono::milliseconds delay, Task task)
        : timer_(context, delay), task_(std::make_shared<Task>(std::move(task))) {
        timer_.async_wait([weak = std::weak_ptr<Task>(task_)](const boost::system::error_code& error) {
            const auto kept = weak.lock();
            if (kept && !error) (*kept)();
        });
    }

 private:
    boost::asio::steady_timer timer_;
    std::shared_ptr<Task> task_;
};

}  // namespace

AsioMainQueue::AsioMainQueue() : work_(context_.get_executor()), thread_(std::this_thread::get_id()) {}

void AsioMainQueue::post(Task task) {
    boost::asio::post(context_, std::move(task));
}

std::unique_ptr<MainTimer> AsioMainQueue::after(std::chrono::milliseconds delay, Task task) {
    return std::make_unique<AsioMainTimer>(context_, delay, std::move(task));
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
