#include "platform/posix/PlainStreamMover.h"

#include <sys/socket.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>

#include "platform/Sockets.h"

namespace quillbay {

namespace {

constexpr std::size_t pieceBytes = std::size_t{64} * 1024;

}  // namespace

StreamMover::Moved PlainStreamMover::move(int source, int destination) {
    assert(leftBytes() == 0);
    if (!block_) block_ = std::make_unique_for_overwrite<Block>();
    begin_ = end_ = 0;
    Moved moved;
    receive(source, moved);
    send(destination, moved);
    return moved;
}

void PlainStreamMover::receive(int source, Moved& moved) {
    while (end_ < block_->size()) {
        const std::size_t room = std::min(pieceBytes, block_->size() - end_);
        const ssize_t count = ::recv(source, block_->data() + end_, room, MSG_DONTWAIT);
        if (count <= 0) {
            moved.ended = count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
            break;
        }
        end_ += static_cast<std::size_t>(count);
        if (static_cast<std::size_t>(count) < room) break;
    }
    moved.receivedBytes = end_;
}

void PlainStreamMover::send(int destination, Moved& moved) {
    if (leftBytes() == 0) return;
    const ssize_t count =
        ::send(destination, block_->data() + begin_, leftBytes(), MSG_DONTWAIT | noSignalFlag());
    if (count < 0) {
        moved.sendError = errno;
        return;
    }
    begin_ += static_cast<std::size_t>(count);
    if (leftBytes() > 0) moved.sendError = EAGAIN;
}

std::size_t PlainStreamMover::take(std::span<char> room) {
    const std::size_t count = std::min(room.size(), leftBytes());
    std::memcpy(room.data(), block_->data() + begin_, count);
    begin_ += count;
    return count;
}

}  // namespace quillbay
