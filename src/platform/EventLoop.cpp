#include "platform/EventLoop.h"

#include <algorithm>
#include <span>

namespace quillbay {

EventLoop::EventLoop(std::unique_ptr<SocketPoller> poller) : poller_(std::move(poller)) {}

EventLoop::~EventLoop() {
    clear();
}

void EventLoop::post(Task task) {
    bool wake = false;
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        wake = std::exchange(asleep_, false);
    }
    if (wake) poller_->wake();
}

void EventLoop::stop() {
    stopped_ = true;
    poller_->wake();
}

void EventLoop::run() {
    while (!stopped_)
        turn(true);
}

bool EventLoop::turn() {
    return turn(false);
}

bool EventLoop::turn(bool mayWait) {
    bool any = runTasks();
    if (stopped_) return any;
    std::optional<std::chrono::nanoseconds> limit(0);
    if (mayWait && endOfTurn_.empty() && unwatched_.empty()) {
        const std::lock_guard lock(mutex_);
        asleep_ = tasks_.empty();
        if (asleep_) limit = untilNextTimer();
    }
    any = tellSockets(limit) || any;
    for (const Task& task : std::exchange(endOfTurn_, {}))
        if (!stopped_) task();
    return runTimers() || any;
}

bool EventLoop::runTasks() {
    std::vector<Task> due;
    {
        const std::lock_guard lock(mutex_);
        asleep_ = false;
        due.swap(tasks_);
    }
    for (Task& task : due) {
        // What a task holds goes with it, not with the last of them.
        std::exchange(task, nullptr)();
        if (stopped_) break;
    }
    return !due.empty();
}

bool EventLoop::tellSockets(std::optional<std::chrono::nanoseconds> limit) {
    const std::span<const SocketPoller::Ready> sockets = poller_->wait(limit);
    {
        const std::lock_guard lock(mutex_);
        asleep_ = false;
    }
    bool any = false;
    for (const SocketPoller::Ready& ready : sockets)
        any = tell(ready.tag, ready.events) || any;
    for (const Watch watch : std::exchange(unwatched_, {})) {
        Place* const place = placeOf(watch);
        if (place == nullptr) continue;
        place->refused = false;
        any = tell(watch, place->wanted) || any;
    }
    return any;
}

bool EventLoop::tell(Watch watch, SocketEvents events) {
    Place* const place = placeOf(watch);
    if (place == nullptr || stopped_) return false;
    const SocketEvents due = events & place->wanted;
    if (due == SocketEvents::none) {
        // Watched for what nobody waits for any more; not before now, as most are waited for again soon. One
        // that failed is told of for nothing at all: to ask again would bring it up again.
        if (place->asked != place->wanted) ask(watch, *place);
        return false;
    }
    place->wanted = without(place->wanted, due);
    const std::shared_ptr<Watcher> watcher = place->watcher;
    watcher->ready(due);
    return true;
}

void EventLoop::ask(Watch watch, Place& place) {
    if (poller_->change(place.socket, watch, place.wanted)) {
        place.asked = place.wanted;
    } else if (!std::exchange(place.refused, true)) {
        unwatched_.push_back(watch);
    }
}

EventLoop::Watch EventLoop::watch(int socket, std::shared_ptr<Watcher> watcher, SocketEvents wanted) {
    if (freePlaces_.empty()) {
        freePlaces_.push_back(static_cast<std::uint32_t>(places_.size()));
        places_.emplace_back();
    }
    const std::uint32_t index = freePlaces_.back();
    if (++lastNumber_ == 0) ++lastNumber_;
    const Watch watch = (static_cast<Watch>(lastNumber_) << 32U) | index;
    poller_->add(socket, watch, wanted);
    freePlaces_.pop_back();
    places_[index] = {std::move(watcher), socket, lastNumber_, wanted, wanted, false};
    return watch;
}

void EventLoop::want(Watch watch, SocketEvents events) {
    Place* const place = placeOf(watch);
    if (place == nullptr) return;
    place->wanted = place->wanted | events;
    if (without(place->wanted, place->asked) != SocketEvents::none) ask(watch, *place);
}

SocketEvents EventLoop::wanted(Watch watch) const {
    const Place* const place = placeOf(watch);
    return place != nullptr ? place->wanted : SocketEvents::none;
}

void EventLoop::forget(Watch watch) {
    Place* const place = placeOf(watch);
    if (place == nullptr) return;
    poller_->remove(place->socket);
    // It may be the last to hold its watcher, whose end may come back here.
    const Place forgotten = std::exchange(*place, {});
    freePlaces_.push_back(static_cast<std::uint32_t>(watch));
}

const EventLoop::Place* EventLoop::placeOf(Watch watch) const {
    const auto index = static_cast<std::uint32_t>(watch);
    if (index >= places_.size() || places_[index].number != watch >> 32U) return nullptr;
    return places_[index].number != 0 ? &places_[index] : nullptr;
}

EventLoop::Timer EventLoop::startTimer(std::chrono::milliseconds delay, Task task) {
    const Timer timer(std::chrono::steady_clock::now() + delay, ++lastTimer_);
    timers_.emplace(timer, std::move(task));
    return timer;
}

void EventLoop::cancelTimer(const Timer& timer) {
    timers_.erase(timer);
}

bool EventLoop::runTimers() {
    if (timers_.empty()) return false;
    bool any = false;
    const auto now = std::chrono::steady_clock::now();
    while (!timers_.empty() && timers_.begin()->first.first <= now && !stopped_) {
        const Task task = std::move(timers_.begin()->second);
        timers_.erase(timers_.begin());
        task();
        any = true;
    }
    return any;
}

std::optional<std::chrono::nanoseconds> EventLoop::untilNextTimer() const {
    if (timers_.empty()) return std::nullopt;
    return std::max(timers_.begin()->first.first - std::chrono::steady_clock::now(),
                    std::chrono::steady_clock::duration::zero());
}

void EventLoop::atEndOfTurn(Task task) {
    endOfTurn_.push_back(std::move(task));
}

void EventLoop::clear() {
    // Each with the loop in order: what goes may close sockets, and forget them here.
    std::exchange(endOfTurn_, {}).clear();
    std::exchange(timers_, {}).clear();
    freePlaces_.clear();
    const std::deque<Place> places = std::exchange(places_, {});
    std::vector<Task> tasks;
    {
        const std::lock_guard lock(mutex_);
        tasks.swap(tasks_);
    }
}

}  // namespace quillbay
