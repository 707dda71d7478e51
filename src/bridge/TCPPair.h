#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <optional>

#include "bridge/SocketAddress.h"
#include "bridge/TCPDirection.h"
#include "bridge/WatchedSocket.h"
#include "platform/EventLoop.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

class TCPPair;

/// How long, and for how much, a pair waits for a peer that owes it something.
struct TCPPairLimits {
    /// A receiver that takes nothing for this long while its sender is gone already will not take anything.
    std::chrono::milliseconds stalled{30'000};
    /// What a well-behaved peer needs to see the end and close is a round trip, also over a slow tunnel.
    std::chrono::milliseconds drain{1500};
    /// A peer that goes on sending into a connection that is closed has what it deserves.
    std::size_t drainBytes = std::size_t{4} * 1024 * 1024;
};

/// The relay, as its pairs see it.
class TCPPairOwner {
 public:
    /// Once for each pair that was not cancelled by the owner itself, when it takes no further part in the
    /// traffic.
    virtual void pairEnded(TCPPair& pair) = 0;
    /// Once, after `pairEnded`: its sockets are closed.
    virtual void pairClosed(TCPPair& pair) = 0;

 protected:
    ~TCPPairOwner() = default;
};

/// A client and its connection to the phone.
///
///     start ──► connecting ──────────► open ──────────► ending ─────────► closing ─────────► closed
///               client's bytes are     both             one side has      both shut down     sockets
///               held, at most 1 MiB    directions       ended; what it    for sending; what  closed
///                    │                 copy             sent is going     comes is dropped
///                    │                   │              to the other          ▲
///                    │                   │                   │                │
///                    └─ phone refused ───┴─ other side gone ─┴────────────────┘
///
///     deadlines: connecting — the kernel's own; open — none; ending — `limits.stalled` without a byte
///     taken, counted anew after each; closing — `limits.drain` in all, and `limits.drainBytes`.
///
/// Draining is what keeps the end of a delivery whole: closing a socket that has unread bytes, or gets some
/// later, resets the connection, and the reset overtakes what the receiver has not read yet.
///
/// Lives on its relay's loop. The relay holds it until it is closed; its open sockets hold it too, and it
/// holds the relay weakly: when that is gone, each receive that completes is the last of its direction, and
/// the pair closes with the last of both. `cancel` closes everything at once.
class TCPPair final : public std::enable_shared_from_this<TCPPair>, private SocketUser {
 public:
    TCPPair(EventLoop& loop, std::weak_ptr<TCPPairOwner> owner, TCPPairLimits limits = {});

    /// Takes both sockets: `client` is accepted, `phone` fresh. `start` must follow in the same turn of the
    /// loop. Throws std::system_error when the loop cannot watch them; they are closed then.
    void adopt(UniqueDescriptor client, UniqueDescriptor phone);
    /// Connects the second one.
    void start(const SocketAddress* phoneAddress);

    /// Ends both sides; neither gets anything more, what is held included. The owner is told as of any end.
    void end() { close(); }

    /// Closes both sockets now, without a word to the owner.
    void cancel();

    /// The client's socket; -1 when it is closed already.
    [[nodiscard]] int client() { return client_.get(); }

    /// The bytes that are held for both sides.
    [[nodiscard]] std::size_t heldBytes() const { return toPhone_.heldBytes() + toClient_.heldBytes(); }

    /// Where the owner keeps the pair.
    std::list<std::shared_ptr<TCPPair>>::iterator position;

 private:
    enum class State { connecting, open, closing, closed };

    TCPDirection& other(const TCPDirection& direction) {
        return &direction == &toPhone_ ? toClient_ : toPhone_;
    }
    void readable(WatchedSocket& socket) override;
    void writable(WatchedSocket& socket) override;
    void connected();
    void receive(TCPDirection& direction);
    void send(TCPDirection& direction);
    /// Decides what comes next, after anything has happened.
    void proceed();
    void waitFor(TCPDirection& direction, WatchedSocket& source, WatchedSocket& destination);
    bool isOver() const;
    void close();
    /// Closes what comes `from` nowhere any more, and else leaves it to be drained.
    void endSending(WatchedSocket& socket, const TCPDirection& from);
    void drain(WatchedSocket& socket);
    void finishWhenDrained();
    void setDeadline(std::chrono::milliseconds limit);
    void clearDeadline();
    void deadlineIsOver();

    EventLoop& loop_;
    std::weak_ptr<TCPPairOwner> owner_;
    const TCPPairLimits limits_;
    WatchedSocket client_;
    WatchedSocket phone_;
    TCPDirection toPhone_;
    TCPDirection toClient_;
    State state_ = State::connecting;
    std::size_t drainedBytes_ = 0;
    // None while both sides are there.
    std::optional<EventLoop::Timer> deadline_;
};

}  // namespace quillbay
