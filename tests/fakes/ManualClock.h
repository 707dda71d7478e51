#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/Clock.h"

namespace quillbay::fakes {

/// Time that stands still unless a test moves it. A sleep returns at once and is recorded; a hook sees each
/// one first.
class ManualClock final : public Clock {
 public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override {
        const std::lock_guard lock(mutex_);
        return wall_;
    }
    [[nodiscard]] std::chrono::steady_clock::time_point steadyNow() const override {
        const std::lock_guard lock(mutex_);
        return steady_;
    }
    bool sleepFor(std::chrono::nanoseconds duration, const StopToken& token) override {
        std::function<void(std::size_t)> hook;
        std::size_t count = 0;
        {
            const std::lock_guard lock(mutex_);
            sleeps_.push_back(duration);
            count = sleeps_.size();
            hook = onSleep_;
        }
        if (hook) hook(count);
        return !token.stopRequested();
    }

    void advance(std::chrono::nanoseconds duration) {
        const std::lock_guard lock(mutex_);
        wall_ += std::chrono::duration_cast<std::chrono::system_clock::duration>(duration);
        steady_ += std::chrono::duration_cast<std::chrono::steady_clock::duration>(duration);
    }
    /// The time of day alone, as when somebody sets it or the computer has slept.
    void setForward(std::chrono::nanoseconds duration) {
        const std::lock_guard lock(mutex_);
        wall_ += std::chrono::duration_cast<std::chrono::system_clock::duration>(duration);
    }
    void onSleep(std::function<void(std::size_t nth)> hook) {
        const std::lock_guard lock(mutex_);
        onSleep_ = std::move(hook);
    }
    [[nodiscard]] std::vector<std::chrono::nanoseconds> sleeps() const {
        const std::lock_guard lock(mutex_);
        return sleeps_;
    }

 private:
    mutable std::mutex mutex_;
    std::chrono::system_clock::time_point wall_{std::chrono::seconds(1'700'000'000)};
    std::chrono::steady_clock::time_point steady_{std::chrono::seconds(1'700'000'000)};
    std::vector<std::chrono::nanoseconds> sleeps_;
    std::function<void(std::size_t)> onSleep_;
};

}  // namespace quillbay::fakes
