#pragma once

#include <chrono>
#include <memory>

#include "platform/MainQueue.h"

namespace quillbay {

/// Runs a task on the main queue again and again, `interval` after its last run, the first time one interval
/// from now, until it is dropped (which the task itself may do). Made and dropped on the main queue.
class RepeatingTimer {
 public:
    /// `mainQueue` must outlive the timer.
    RepeatingTimer(MainQueue& mainQueue, std::chrono::milliseconds interval, Task task);
    RepeatingTimer(const RepeatingTimer&) = delete;
    RepeatingTimer& operator=(const RepeatingTimer&) = delete;

 private:
    struct State;
    static void arm(const std::shared_ptr<State>& state);
    std::shared_ptr<State> state_;
};

}  // namespace quillbay
