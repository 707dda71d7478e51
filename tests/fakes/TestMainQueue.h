#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "fakes/ManualClock.h"
#include "platform/AsioMainQueue.h"

namespace quillbay::fakes {

/// A main queue whose tasks run as in the program, and whose timers follow a clock that the test winds.
class TestMainQueue final : public MainQueue {
 public:
    /// `clock` must outlive the queue.
    explicit TestMainQueue(const ManualClock& clock) : clock_(clock) {}

    void post(Task task) override { tasks_.post(std::move(task)); }
    [[nodiscard]] bool isCurrent() const override { return tasks_.isCurrent(); }

    [[nodiscard]] std::unique_ptr<MainTimer> after(std::chrono::milliseconds delay, Task task) override {
        auto timer = std::make_shared<Timer>(Timer{clock_.steadyNow() + delay, std::move(task)});
        timers_.push_back(timer);
        return std::make_unique<Handle>(std::move(timer));
    }

    /// Has the task of every timer whose time has come run later, in the order of their times.
    void postDueTimers() {
        std::erase_if(timers_, [](const std::weak_ptr<Timer>& timer) { return timer.expired(); });
        // Those of one time in the order in which they were made.
        std::multimap<std::chrono::steady_clock::time_point, std::shared_ptr<Timer>> due;
        for (const auto& weak : timers_)
            if (auto timer = weak.lock(); timer && !timer->posted && timer->time <= clock_.steadyNow())
                due.emplace(timer->time, std::move(timer));
        for (const auto& [time, timer] : due) {
            timer->posted = true;
            post([weak = std::weak_ptr<Timer>(timer)] {
                if (const auto kept = weak.lock()) kept->task();
            });
        }
    }

    /// How many timers wait.
    [[nodiscard]] std::size_t waitingTimers() const {
        return static_cast<std::size_t>(std::count_if(timers_.begin(), timers_.end(), [](const auto& weak) {
            const auto timer = weak.lock();
            return timer && !timer->posted;
        }));
    }

    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
        return tasks_.runUntil(done, limit);
    }
    void run() { tasks_.run(); }
    void stop() { tasks_.stop(); }
    boost::asio::io_context& context() { return tasks_.context(); }

 private:
    struct Timer {
        std::chrono::steady_clock::time_point time;
        Task task;
        bool posted = false;
    };
    struct Handle final : MainTimer {
        explicit Handle(std::shared_ptr<Timer> kept) : timer(std::move(kept)) {}
        std::shared_ptr<Timer> timer;
    };

    const ManualClock& clock_;
    AsioMainQueue tasks_;
    std::vector<std::weak_ptr<Timer>> timers_;
};

}  // namespace quillbay::fakes
