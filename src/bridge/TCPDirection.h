#pragma once

#include <cstddef>
#include <memory>

#include "bridge/SendQueue.h"
#include "bridge/WatchedSocket.h"
#include "platform/StreamMover.h"

namespace quillbay {

/// One direction of a pair: what comes from one socket goes to the other, in order and unchanged. Never
/// blocks and never waits; the pair asks it what to wait for.
class TCPDirection {
 public:
    /// The most that is held for a destination whose kernel buffer is full; at that bound nothing more is
    /// received, so a slow receiver slows its sender down and not this computer's memory.
    static constexpr std::size_t heldLimitBytes = std::size_t{1024} * 1024;

    /// Both sockets outlive the direction.
    TCPDirection(WatchedSocket& source, WatchedSocket& destination);

    /// Nothing is sent before this; what comes earlier is held.
    void openDestination() { destinationOpen_ = true; }

    /// Receives what is there, up to a bound that is fair to other connections, and sends it on.
    void receive();

    /// Sends what is held, as far as the kernel takes it. Returns whether it took anything.
    bool flush();

    [[nodiscard]] bool wantsToReceive() const { return !ended_ && !broken_ && !full_; }
    [[nodiscard]] bool wantsToSend() const { return destinationOpen_ && !held_.empty(); }
    [[nodiscard]] std::size_t heldBytes() const { return held_.size(); }

    /// The source has ended: closed its sending side, or was reset.
    [[nodiscard]] bool ended() const { return ended_; }
    /// The destination takes no more; what was held for it is dropped.
    [[nodiscard]] bool broken() const { return broken_; }
    /// Everything that the source sent has been handed to the kernel.
    [[nodiscard]] bool delivered() const { return ended_ && held_.empty(); }

 private:
    enum class Received { all, more, nothing };
    Received receiveIntoBuffer();
    Received receiveIntoHeld();
    /// The quick way for a stream that fills one receive after the other.
    void moveOn();
    void breakOff();
    Received judge(ssize_t count, std::size_t asked);
    std::size_t send(const char* bytes, std::size_t count);

    WatchedSocket& source_;
    WatchedSocket& destination_;
    SendQueue held_;
    bool destinationOpen_ = false;
    bool full_ = false;
    bool ended_ = false;
    bool broken_ = false;
    // Only while one receive after the other takes as much as it can.
    std::shared_ptr<StreamMover> mover_;
};

}  // namespace quillbay
