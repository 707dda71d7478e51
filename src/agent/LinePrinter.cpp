#include "agent/LinePrinter.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/PrintableText.h"
#include "platform/ThreadName.h"

namespace quillbay {

namespace {

/// What cannot be written is not printed: the log has it.
void write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

struct LinePrinter::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> lines;
    bool ending = false;
    bool ended = false;
};

LinePrinter::LinePrinter() : state_(std::make_shared<State>()) {
    // Nobody joins it: it may be in a write that never ends. It holds all that it uses.
    std::thread([state = state_] {
        setThreadName("com.local.mirel.Quillbay.line-printer");
        run(*state);
    }).detach();
}

LinePrinter::~LinePrinter() {
    constexpr std::chrono::seconds patience{1};
    std::unique_lock lock(state_->mutex);
    state_->ending = true;
    state_->changed.notify_all();
    state_->changed.wait_for(lock, patience, [this] { return state_->ended; });
}

void LinePrinter::print(const std::string& line) {
    const std::lock_guard lock(state_->mutex);
    if (state_->lines.size() == maxWaitingLines) state_->lines.pop_front();
    state_->lines.push_back(printable(line) + "\n");
    state_->changed.notify_all();
}

void LinePrinter::run(State& state) {
    std::unique_lock lock(state.mutex);
    while (true) {
        state.changed.wait(lock, [&] { return state.ending || !state.lines.empty(); });
        if (state.lines.empty()) break;
        const std::string line = std::move(state.lines.front());
        state.lines.pop_front();
        lock.unlock();
        write(line);
        lock.lock();
    }
    state.ended = true;
    state.changed.notify_all();
}

}  // namespace quillbay
