#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>
#include <thread>

#include "platform/Task.h"

namespace quillbay {

/// A loop with a thread of its own. What runs on it never overlaps.
class WorkerThread {
 public:
    /// Starts the thread; `name` is shown by debuggers, shortened where the system has a limit.
    explicit WorkerThread(const std::string& name);

    /// Runs what was posted before, then ends the thread. Waits for that, except on the thread itself.
    ~WorkerThread();

    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    boost::asio::io_context& context();

    /// Ends the thread after what it is running now; the rest never runs. Only for a loop whose pending
    /// operations would otherwise never end; may be called more than once.
    void abandon();

    /// Destroys what an abandoned loop was to run, with all that it owns. The loop's sockets and timers that
    /// are owned elsewhere can still be destroyed afterwards.
    void dropPending();

 private:
    struct Loop;
    void join();
    std::shared_ptr<Loop> loop_;
    std::thread thread_;
};

/// A labelled queue that runs its tasks one at a time, in the order posted.
///
/// It is a name for one single-threaded loop: either one of the network threads, shared with other queues
/// (for work that never blocks), or a thread of its own (for work on files, which does). Copies are the same
/// queue.
class SerialQueue {
 public:
    /// A queue on a loop that exactly one thread runs and that outlives the queue.
    SerialQueue(std::string label, boost::asio::io_context& context);

    /// A queue with a thread of its own, which ends with the last copy of the queue, after what was posted. A
    /// task may drop that copy.
    static SerialQueue withOwnThread(std::string label);

    [[nodiscard]] const std::string& label() const { return label_; }

    /// Runs `task` later. May be called on any thread.
    void post(Task task) const;

    /// Runs `task` on the queue and waits for it; an exception of the task is thrown to the caller. Must not
    /// be called on the queue itself.
    void sync(const Task& task) const;

    /// The loop, for sockets and timers that belong to this queue.
    [[nodiscard]] boost::asio::io_context& context() const { return *context_; }

 private:
    std::string label_;
    std::shared_ptr<WorkerThread> ownThread_;
    boost::asio::io_context* context_;
};

}  // namespace quillbay
