#include "platform/EventLoopThread.h"

#include "platform/ThreadName.h"

namespace quillbay {

EventLoopThread::EventLoopThread(const std::string& name)
    : thread_([this, name] {
          setThreadName(name);
          loop_.run();
      }) {}

EventLoopThread::~EventLoopThread() {
    abandon();
}

void EventLoopThread::abandon() {
    loop_.stop();
    if (thread_.joinable()) thread_.join();
}

}  // namespace quillbay
