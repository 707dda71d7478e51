#pragma once

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "platform/MainQueue.h"

namespace quillbay {

/// The main queue of a program without windows: an Asio loop on the thread that calls `run`.
class AsioMainQueue final : public MainQueue {
 public:
    AsioMainQueue();

    void post(Task task) override;
    [[nodiscard]] std::unique_ptr<MainTimer> after(std::chrono::milliseconds delay, Task task) override;
    [[nodiscard]] bool isCurrent() const override;

    /// Runs tasks on the calling thread until `stop`. Tasks that are still queued then never run.
    void run();

    /// Makes `run` return after the task that is running. May be called on any thread and in a task.
    void stop();

    /// Runs tasks on the calling thread until `done` answers true (asked after every task and every few
    /// milliseconds), `limit` has passed or `stop` was called. Returns the last answer of `done`. For tests
    /// and small tools.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

    /// The loop itself, for signal sets and timers that belong to the main thread.
    boost::asio::io_context& context() { return context_; }

 private:
    boost::asio::io_context context_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
    std::atomic<std::thread::id> thread_;
};

}  // namespace quillbay
