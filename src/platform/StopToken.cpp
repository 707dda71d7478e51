#include "platform/StopToken.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace quillbay {

namespace detail {

struct StopState {
    std::mutex mutex;
    std::condition_variable changed;
    bool stopped = false;
    std::size_t nextID = 1;
    std::size_t runningID = 0;
    std::thread::id runningThread;
    std::map<std::size_t, std::function<void()>> callbacks;
};

}  // namespace detail

StopRegistration::StopRegistration(std::shared_ptr<detail::StopState> state, std::size_t id)
    : state_(std::move(state)), id_(id) {}

StopRegistration::~StopRegistration() {
    reset();
}

StopRegistration::StopRegistration(StopRegistration&& other) noexcept
    : state_(std::move(other.state_)), id_(std::exchange(other.id_, 0)) {}

StopRegistration& StopRegistration::operator=(StopRegistration&& other) noexcept {
    if (this != &other) {
        reset();
        state_ = std::move(other.state_);
        id_ = std::exchange(other.id_, 0);
    }
    return *this;
}

void StopRegistration::reset() {
    if (!state_) return;
    std::unique_lock lock(state_->mutex);
    // What the callback captured may end registrations of its own, so it is destroyed without the lock.
    const auto callback = state_->callbacks.extract(id_);
    if (state_->runningThread != std::this_thread::get_id())
        state_->changed.wait(lock, [this] { return state_->runningID != id_; });
    lock.unlock();
    state_.reset();
}

StopToken::StopToken(std::shared_ptr<detail::StopState> state) : state_(std::move(state)) {}

bool StopToken::stopRequested() const {
    if (!state_) return false;
    const std::lock_guard lock(state_->mutex);
    return state_->stopped;
}

bool StopToken::sleepFor(std::chrono::nanoseconds duration) const {
    if (!state_) {
        std::this_thread::sleep_for(duration);
        return true;
    }
    std::unique_lock lock(state_->mutex);
    return !state_->changed.wait_for(lock, duration, [this] { return state_->stopped; });
}

StopRegistration StopToken::onStop(std::function<void()> callback) const {
    if (!state_) return {};
    {
        const std::lock_guard lock(state_->mutex);
        if (!state_->stopped) {
            const std::size_t id = state_->nextID++;
            state_->callbacks.emplace(id, std::move(callback));
            return StopRegistration(state_, id);
        }
    }
    callback();
    return {};
}

StopSource::StopSource() : state_(std::make_shared<detail::StopState>()) {}

void StopSource::requestStop() const {
    std::unique_lock lock(state_->mutex);
    if (state_->stopped) return;
    state_->stopped = true;
    state_->runningThread = std::this_thread::get_id();
    state_->changed.notify_all();
    while (!state_->callbacks.empty()) {
        auto node = state_->callbacks.extract(state_->callbacks.begin());
        state_->runningID = node.key();
        lock.unlock();
        node.mapped()();
        node = {};
        lock.lock();
        state_->runningID = 0;
        state_->changed.notify_all();
    }
    state_->runningThread = {};
}

}  // namespace quillbay
