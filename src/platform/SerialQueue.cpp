#include "platform/SerialQueue.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <future>
#include <utility>

#include "platform/ThreadName.h"

namespace quillbay {

// One thread runs it, but without Asio's concurrency hint for that: with the hint, what the thread posts to
// its own loop is put aside until the running task ends, and overtaken by what other threads post after it.
struct WorkerThread::Loop : boost::asio::io_context {
    using boost::asio::io_context::shutdown;
    boost::asio::executor_work_guard<executor_type> work{get_executor()};
    // Never waits. A loop opens its own descriptors with its first timer or socket: here, where a shortage is
    // the constructor's error, and not on the thread, where it would be nobody's.
    boost::asio::steady_timer opensTheLoop{*this};
};

WorkerThread::WorkerThread(const std::string& name)
    : loop_(std::make_shared<Loop>()), thread_([loop = loop_, name] {
          setThreadName(name);
          loop->run();
      }) {}

WorkerThread::~WorkerThread() {
    loop_->work.reset();
    join();
}

boost::asio::io_context& WorkerThread::context() {
    return *loop_;
}

void WorkerThread::abandon() {
    loop_->stop();
    join();
}

void WorkerThread::dropPending() {
    loop_->shutdown();
}

void WorkerThread::join() {
    if (!thread_.joinable()) return;
    // The last owner of a queue can be a task that runs on it. The thread then ends by itself, and the loop
    // with it.
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach();
    else
        thread_.join();
}

SerialQueue::SerialQueue(std::string label, boost::asio::io_context& context)
    : label_(std::move(label)), context_(&context) {}

SerialQueue SerialQueue::withOwnThread(std::string label) {
    auto thread = std::make_shared<WorkerThread>(label);
    SerialQueue queue(std::move(label), thread->context());
    queue.ownThread_ = std::move(thread);
    return queue;
}

void SerialQueue::post(Task task) const {
    boost::asio::post(*context_, std::move(task));
}

void SerialQueue::sync(const Task& task) const {
    // Shared with the task: the caller may have gone on before the queue has quite finished with the promise,
    // and a loop that drops the task unrun must wake the caller.
    const auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    post([&task, done] {
        try {
            task();
            done->set_value();
        } catch (...) {
            done->set_exception(std::current_exception());
        }
    });
    finished.get();
}

}  // namespace quillbay
