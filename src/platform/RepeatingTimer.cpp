#include "platform/RepeatingTimer.h"

#include <utility>

namespace quillbay {

struct RepeatingTimer::State {
    MainQueue& mainQueue;
    std::chrono::milliseconds interval;
    Task task;
    std::unique_ptr<MainTimer> next;
};

RepeatingTimer::RepeatingTimer(MainQueue& mainQueue, std::chrono::milliseconds interval, Task task)
    : state_(std::make_shared<State>(State{mainQueue, interval, std::move(task), nullptr})) {
    arm(state_);
}

void RepeatingTimer::arm(const std::shared_ptr<State>& state) {
    state->next = state->mainQueue.after(state->interval, [weak = std::weak_ptr<State>(state)] {
        const auto kept = weak.lock();
        if (!kept) return;
        kept->task();
        // Dropped by its own task: this is the last copy, and nothing is armed any more.
        if (kept.use_count() > 1) arm(kept);
    });
}

}  // namespace quillbay
