#pragma once

#include <string>
#include <thread>

#include "platform/EventLoop.h"

namespace quillbay {

/// An event loop with a thread of its own.
class EventLoopThread {
 public:
    /// Starts the thread; `name` is shown by debuggers. Throws std::system_error when the system has no
    /// descriptors or no thread for it.
    explicit EventLoopThread(const std::string& name);
    /// Ends the thread after what it is running now. Not to be destroyed on it.
    ~EventLoopThread();
    EventLoopThread(const EventLoopThread&) = delete;
    EventLoopThread& operator=(const EventLoopThread&) = delete;

    EventLoop& loop() { return loop_; }

    /// Ends the thread after what it is running now; the rest never runs. May be called more than once.
    void abandon();

 private:
    EventLoop loop_;
    std::thread thread_;
};

}  // namespace quillbay
