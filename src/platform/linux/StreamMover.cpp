#include "platform/StreamMover.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>

#include "platform/UniqueDescriptor.h"
#include "platform/posix/PlainStreamMover.h"

namespace quillbay {

namespace {

constexpr std::size_t pieceBytes = std::size_t{64} * 1024;
constexpr unsigned quietly = SPLICE_F_MOVE | SPLICE_F_NONBLOCK;

/// Whether a plain receive would find the end. splice tells of one already where an urgent byte keeps it from
/// what follows, and where the system has no use for it, of an error that is not the stream's.
bool hasEnded(int source) {
    char next = 0;
    ssize_t count = 0;
    do {
        count = ::recv(source, &next, 1, MSG_PEEK | MSG_DONTWAIT);
    } while (count < 0 && errno == EINTR);
    return count == 0 || (count < 0 && errno != EAGAIN);
}

/// Lends the pages that were received from one socket to the other through a pipe: the bytes are never
/// copied.
class PipeMover final : public StreamMover {
 public:
    /// Makes the pipe; to be called before anything else. False when there is none to be had.
    bool open();

    Moved move(int source, int destination) override;
    [[nodiscard]] std::size_t leftBytes() const override { return left_; }
    std::size_t take(std::span<char> room) override;
    void dropLeft() override;

 private:
    void receive(int source, Moved& moved);
    void send(int destination, Moved& moved);
    /// Loses what is left: it cannot be read, and must not come out before the next stream's bytes.
    void renew();

    UniqueDescriptor read_;
    UniqueDescriptor write_;
    std::size_t left_ = 0;
};

bool PipeMover::open() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return false;
    read_.reset(ends[0]);
    write_.reset(ends[1]);
    // The pipe takes a page or less in each of its places. With those that it has at first, 64 KiB at most
    // would go through at a time; a refusal (there is a limit for each user) leaves it at that.
    static_cast<void>(::fcntl(write_.get(), F_SETPIPE_SZ, static_cast<int>(mostBytesAtOnce)));
    // Unlike send, splice has no way to ask for an error in its place.
    sigset_t brokenPipe;
    ::sigemptyset(&brokenPipe);
    ::sigaddset(&brokenPipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    return true;
}

StreamMover::Moved PipeMover::move(int source, int destination) {
    assert(left_ == 0);
    Moved moved;
    receive(source, moved);
    send(destination, moved);
    return moved;
}

void PipeMover::receive(int source, Moved& moved) {
    while (left_ < mostBytesAtOnce) {
        const std::size_t room = std::min(pieceBytes, mostBytesAtOnce - left_);
        const ssize_t count = ::splice(source, nullptr, write_.get(), nullptr, room, quietly);
        if (count <= 0) {
            const bool nothingForNow = count < 0 && errno == EAGAIN;  // or no place left in the pipe
            moved.ended = !nothingForNow && hasEnded(source);
            break;
        }
        left_ += static_cast<std::size_t>(count);
        if (static_cast<std::size_t>(count) < room) break;
    }
    moved.receivedBytes = left_;
}

void PipeMover::send(int destination, Moved& moved) {
    while (left_ > 0) {
        const ssize_t count = ::splice(read_.get(), nullptr, destination, nullptr, left_, quietly);
        if (count <= 0) {
            moved.sendError = count == 0 ? EAGAIN : errno;
            return;
        }
        left_ -= static_cast<std::size_t>(count);
    }
}

std::size_t PipeMover::take(std::span<char> room) {
    ssize_t count = 0;
    do {
        count = ::read(read_.get(), room.data(), std::min(room.size(), left_));
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        renew();
        return 0;
    }
    left_ -= static_cast<std::size_t>(count);
    return static_cast<std::size_t>(count);
}

void PipeMover::dropLeft() {
    std::array<char, pieceBytes> nowhere;
    while (left_ > 0)
        if (take(nowhere) == 0) return;
}

void PipeMover::renew() {
    left_ = 0;
    read_.reset();
    write_.reset();
    // Without a pipe it moves nothing, and plain receives do the work.
    static_cast<void>(open());
}

std::shared_ptr<StreamMover> makeMover() {
    auto mover = std::make_shared<PipeMover>();
    if (mover->open()) return mover;
    return std::make_shared<PlainStreamMover>();
}

}  // namespace

std::shared_ptr<StreamMover> streamMover() {
    thread_local std::weak_ptr<StreamMover> current;
    std::shared_ptr<StreamMover> mover = current.lock();
    if (!mover) current = mover = makeMover();
    return mover;
}

}  // namespace quillbay
