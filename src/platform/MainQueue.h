#pragma once

#include <chrono>
#include <memory>

#include "platform/Task.h"

namespace quillbay {

/// A task of the main queue that waits for its time; dropping it (on the main queue) cancels it.
class MainTimer {
 public:
    virtual ~MainTimer() = default;

    MainTimer() = default;
    MainTimer(const MainTimer&) = delete;
    MainTimer& operator=(const MainTimer&) = delete;
};

/// The one queue on which all published state lives: the coordinator, the bridges and, with windows, the
/// views.
///
/// Implementations run on an Asio loop (agent, tests) or on the window system's event loop. Tasks run in the
/// order in which they were posted, never inside `post`, and always on the same thread.
class MainQueue {
 public:
    virtual ~MainQueue() = default;

    MainQueue() = default;
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// Runs `task` later on the main thread. May be called on any thread.
    virtual void post(Task task) = 0;

    /// Runs `task` once on the main thread when `delay` has passed, never inside this call, unless the timer
    /// is dropped before. The task may drop its own timer. Called on the main thread.
    [[nodiscard]] virtual std::unique_ptr<MainTimer> after(std::chrono::milliseconds delay, Task task) = 0;

    /// True on the thread that runs the tasks.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace quillbay
