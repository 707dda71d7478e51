#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/Clock.h"
#include "platform/MainQueue.h"

namespace quillbay {

/// Counts the ports that a scan has probed and takes the count to the main queue: one task at a time, and not
/// more often than a person can follow.
class ScanProgress : public std::enable_shared_from_this<ScanProgress> {
 public:
    /// `tell` runs on the main queue with the ports probed so far. `mainQueue` and `clock` must outlive the
    /// scan.
    ScanProgress(MainQueue& mainQueue, const Clock& clock, std::function<void(std::size_t probed)> tell);

    /// One more port. May be called on any thread.
    void portProbed();

    /// May be called on any thread.
    [[nodiscard]] std::size_t probed() const;

 private:
    void deliver();

    MainQueue& mainQueue_;
    const Clock& clock_;
    std::function<void(std::size_t probed)> tell_;
    mutable std::mutex mutex_;
    std::size_t probed_ = 0;
    bool posted_ = false;
    std::chrono::steady_clock::time_point nextTelling_{};
};

}  // namespace quillbay
