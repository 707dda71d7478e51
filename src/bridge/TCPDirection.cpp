#include "bridge/TCPDirection.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>

#include "bridge/ReceiveBuffer.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

// With 64 KiB each, one turn moves at most 1 MiB before the other connections of the thread get theirs.
constexpr int receivesPerTurn = 16;

bool isTransient(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

// Out of memory for the moment is no reason to give a connection up: the data is held and tried again.
bool isWorthARetry(int error) {
    return isTransient(error) || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

TCPDirection::TCPDirection(WatchedSocket& source, WatchedSocket& destination)
    : source_(source), destination_(destination) {}

void TCPDirection::receive() {
    for (int round = 0; round < receivesPerTurn && wantsToReceive(); ++round) {
        const bool passOn = held_.empty() && destinationOpen_;
        if (passOn && mover_) return moveOn();
        if ((passOn ? receiveIntoBuffer() : receiveIntoHeld()) != Received::more) return;
        if (passOn) mover_ = streamMover();
    }
}

void TCPDirection::moveOn() {
    static_assert(StreamMover::mostBytesAtOnce <= heldLimitBytes);
    const StreamMover::Moved moved = mover_->move(source_.get(), destination_.get());
    ended_ = moved.ended;
    if (moved.sendError != 0 && !isWorthARetry(moved.sendError)) {
        broken_ = true;
        mover_->dropLeft();
    }
    while (mover_->leftBytes() > 0) {
        const std::size_t taken = mover_->take(held_.prepare(heldLimitBytes - held_.size()));
        held_.commit(taken);
        if (taken == 0) breakOff();
    }
    // What fills no receive is better off without the detour; and some bytes only a plain receive gets past.
    if (moved.receivedBytes < receiveLimitBytes) mover_.reset();
    full_ = held_.size() == heldLimitBytes;
}

void TCPDirection::breakOff() {
    broken_ = true;
    held_.clear();
}

TCPDirection::Received TCPDirection::receiveIntoBuffer() {
    ReceiveBuffer& buffer = receiveBuffer();
    const ssize_t count = ::recv(source_.get(), buffer.data(), buffer.size(), 0);
    const Received result = judge(count, buffer.size());
    if (count <= 0) return result;
    const auto received = static_cast<std::size_t>(count);
    const std::size_t sent = send(buffer.data(), received);
    if (sent < received && !broken_) held_.append({buffer.data() + sent, received - sent});
    return result;
}

TCPDirection::Received TCPDirection::receiveIntoHeld() {
    const std::span<char> room = held_.prepare(heldLimitBytes - held_.size());
    const ssize_t count = ::recv(source_.get(), room.data(), room.size(), 0);
    const Received result = judge(count, room.size());
    held_.commit(count > 0 ? static_cast<std::size_t>(count) : 0);
    full_ = held_.size() == heldLimitBytes;
    return result;
}

TCPDirection::Received TCPDirection::judge(ssize_t count, std::size_t asked) {
    if (count > 0) return static_cast<std::size_t>(count) == asked ? Received::more : Received::all;
    // A reset counts as an end: what came before it is delivered all the same.
    if (count == 0 || !isTransient(errno)) ended_ = true;
    return Received::nothing;
}

std::size_t TCPDirection::send(const char* bytes, std::size_t count) {
    const ssize_t sent = ::send(destination_.get(), bytes, count, noSignalFlag());
    if (sent >= 0) return static_cast<std::size_t>(sent);
    if (!isWorthARetry(errno)) broken_ = true;
    return 0;
}

bool TCPDirection::flush() {
    bool progress = false;
    while (wantsToSend()) {
        std::array<iovec, heldLimitBytes / receiveLimitBytes + 1> pieces;
        msghdr message{};
        message.msg_iov = pieces.data();
        // Unsigned on one system and int on another.
        message.msg_iovlen = static_cast<decltype(message.msg_iovlen)>(held_.front(pieces));
        const ssize_t sent = ::sendmsg(destination_.get(), &message, noSignalFlag());
        if (sent < 0) {
            if (!isWorthARetry(errno)) breakOff();
            break;
        }
        progress = progress || sent > 0;
        held_.consume(static_cast<std::size_t>(sent));
    }
    // Not at the first byte taken: receives of a few bytes at a time would cost more than they move.
    if (held_.size() <= heldLimitBytes / 2) full_ = false;
    return progress;
}

}  // namespace quillbay
