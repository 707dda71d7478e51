#pragma once

#include "platform/Task.h"

namespace quillbay {

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

    /// True on the thread that runs the tasks.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace quillbay
