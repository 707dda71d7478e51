#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/SocketEvents.h"

namespace quillbay {

/// The system's way to wait for many sockets at once. Used by one thread, but for `wake`.
///
/// A socket is told of for as long as it is ready: nothing that is left in it is forgotten. An idle socket
/// costs nothing.
class SocketPoller {
 public:
    struct Ready {
        std::uint64_t tag;
        SocketEvents events;
    };

    virtual ~SocketPoller() = default;
    SocketPoller(const SocketPoller&) = delete;
    SocketPoller& operator=(const SocketPoller&) = delete;

    /// Watches an open socket, which stays the caller's. Throws std::system_error when the system does not
    /// take it.
    virtual void add(int socket, std::uint64_t tag, SocketEvents events) = 0;
    /// Watches it for these events in place of the ones before. With none, a socket that failed may still be
    /// told of, but not over and over. False when the system refuses.
    virtual bool change(int socket, std::uint64_t tag, SocketEvents events) = 0;
    /// The socket is closed right after this. What is told of the tag later is of no meaning.
    virtual void remove(int socket) = 0;

    /// Waits until a socket is ready, `wake` was called or the limit is over; without a limit for as long as
    /// it takes. What it returns is valid until the next call, and may be nothing at any time.
    virtual std::span<const Ready> wait(std::optional<std::chrono::nanoseconds> limit) = 0;
    /// Any thread. Ends the wait that is under way, or else the next one.
    virtual void wake() = 0;

 protected:
    SocketPoller() = default;
};

/// The quickest that the system has. Throws std::system_error when there is no descriptor for it.
std::unique_ptr<SocketPoller> makeSocketPoller();

}  // namespace quillbay
