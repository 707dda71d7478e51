#include "platform/BackgroundWork.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace quillbay {

struct BackgroundWork::Shared {
    std::mutex mutex;
    std::condition_variable ended;
    std::size_t nextID = 0;
    bool closing = false;
    std::map<std::size_t, StopSource> running;
};

BackgroundWork::BackgroundWork() : shared_(std::make_shared<Shared>()) {}

BackgroundWork::~BackgroundWork() {
    std::unique_lock lock(shared_->mutex);
    shared_->closing = true;
    const std::map<std::size_t, StopSource> abandoned = shared_->running;
    lock.unlock();
    for (const auto& [id, source] : abandoned)
        source.requestStop();
    lock.lock();
    shared_->ended.wait(lock, [this] { return shared_->running.empty(); });
}

StopSource BackgroundWork::run(std::function<void(StopToken)> work) {
    const StopSource source;
    std::size_t id = 0;
    {
        const std::lock_guard lock(shared_->mutex);
        id = shared_->nextID++;
        shared_->running.emplace(id, source);
        // A piece that another piece starts while all are being abandoned would never be told.
        if (shared_->closing) source.requestStop();
    }
    const auto end = [shared = shared_, id] {
        const std::lock_guard lock(shared->mutex);
        shared->running.erase(id);
        // Under the lock: the waiter may destroy the condition as soon as it sees the map empty.
        shared->ended.notify_all();
    };
    try {
        std::thread([work = std::move(work), token = source.token(), end]() mutable {
            work(std::move(token));
            // What the work captured must be gone before its owner is told that it has ended.
            work = nullptr;
            end();
        }).detach();
    } catch (...) {
        end();
        throw;
    }
    return source;
}

std::size_t BackgroundWork::pending() const {
    const std::lock_guard lock(shared_->mutex);
    return shared_->running.size();
}

}  // namespace quillbay
