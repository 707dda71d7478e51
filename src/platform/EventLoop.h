#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/SocketPoller.h"
#include "platform/Task.h"

namespace quillbay {

/// One thread's sockets, timers and tasks, for what has many sockets that are used over and over: a socket
/// stays registered for as long as it is open, so a wait for it costs no call of the system.
///
/// Everything but `post` and `stop` belongs to the thread that turns the loop. What happens in one turn, in
/// this order: the tasks that were posted before it, the sockets that are ready, what was put off to the
/// turn's end, the timers that are due.
class EventLoop {
 public:
    /// Who waits for a socket.
    class Watcher {
     public:
        /// This, of what was wanted, has come; it is wanted no more.
        virtual void ready(SocketEvents events) = 0;

     protected:
        ~Watcher() = default;
    };

    /// A socket that is watched. Not reused.
    using Watch = std::uint64_t;
    /// A timer that has not run and was not cancelled.
    using Timer = std::pair<std::chrono::steady_clock::time_point, std::uint64_t>;

    explicit EventLoop(std::unique_ptr<SocketPoller> poller = makeSocketPoller());
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Any thread:

    /// Runs `task` in a later turn. Tasks keep their order, whoever posts them.
    void post(Task task);
    /// Ends `run` after the turn that it is in, in which nothing more is told and no task or timer runs.
    void stop();

    // On the loop:

    /// Turns until it is stopped.
    void run();
    /// One turn that waits for nothing. True when anything was done.
    bool turn();

    /// Watches an open socket, and holds the watcher until `forget`. Throws std::system_error when the system
    /// does not take the socket.
    Watch watch(int socket, std::shared_ptr<Watcher> watcher, SocketEvents wanted);
    /// Also waits for these. What is there already is told of too, in a later turn.
    void want(Watch watch, SocketEvents events);
    [[nodiscard]] SocketEvents wanted(Watch watch) const;
    /// Before the socket is closed. Harmless for what is watched no more.
    void forget(Watch watch);

    Timer startTimer(std::chrono::milliseconds delay, Task task);
    /// Harmless for one that has run.
    void cancelTimer(const Timer& timer);

    /// Runs `task` once the sockets of this turn have been seen to.
    void atEndOfTurn(Task task);

    /// When nothing turns it any more: drops everything that waits, with all that it owns.
    void clear();

 private:
    struct Place {
        std::shared_ptr<Watcher> watcher;
        int socket = -1;
        std::uint32_t number = 0;  // which of the watches that had this place; 0 when free
        SocketEvents wanted = SocketEvents::none;
        SocketEvents asked = SocketEvents::none;  // what the poller watches it for
        bool refused = false;                     // the poller did not watch it for more: is in `unwatched_`
    };

    bool turn(bool mayWait);
    bool runTasks();
    bool tellSockets(std::optional<std::chrono::nanoseconds> limit);
    bool tell(Watch watch, SocketEvents events);
    void ask(Watch watch, Place& place);
    bool runTimers();
    std::optional<std::chrono::nanoseconds> untilNextTimer() const;
    const Place* placeOf(Watch watch) const;
    Place* placeOf(Watch watch) { return const_cast<Place*>(std::as_const(*this).placeOf(watch)); }

    const std::unique_ptr<SocketPoller> poller_;
    // Grows without being copied.
    std::deque<Place> places_;
    std::vector<std::uint32_t> freePlaces_;
    std::uint32_t lastNumber_ = 0;
    // They are told of everything that they want, in the next turn.
    std::vector<Watch> unwatched_;
    std::map<Timer, Task> timers_;
    std::uint64_t lastTimer_ = 0;
    std::vector<Task> endOfTurn_;

    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;
    std::vector<Task> tasks_;
    // The loop waits, or is about to: who posts has to wake it.
    bool asleep_ = false;
};

}  // namespace quillbay
