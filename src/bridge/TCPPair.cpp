#include "bridge/TCPPair.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "bridge/ReceiveBuffer.h"

namespace quillbay {

namespace {

constexpr int drainReceivesPerTurn = 16;

int takeSocketError(int descriptor) {
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

}  // namespace

TCPPair::TCPPair(boost::asio::io_context& loop, std::weak_ptr<TCPPairOwner> owner, TCPPairLimits limits)
    : loop_(loop),
      owner_(std::move(owner)),
      limits_(limits),
      client_(loop),
      phone_(loop),
      toPhone_(client_, phone_),
      toClient_(phone_, client_) {
    toClient_.openDestination();
}

void TCPPair::adopt(UniqueDescriptor client, UniqueDescriptor phone) {
    client_.adopt(std::move(client));
    phone_.adopt(std::move(phone));
}

void TCPPair::start(const SocketAddress* phoneAddress) {
    if (phoneAddress == nullptr) return close();
    const int failed = ::connect(phone_.get(), phoneAddress->get(), phoneAddress->size());
    if (failed != 0 && errno != EINPROGRESS && errno != EINTR) return close();
    phone_.whenWritable([self = shared_from_this()] { self->connected(); });
    proceed();
}

void TCPPair::connected() {
    if (state_ != State::connecting) return;
    if (takeSocketError(phone_.get()) != 0) return close();
    state_ = State::open;
    toPhone_.openDestination();
    toPhone_.flush();
    proceed();
}

void TCPPair::received(TCPDirection& direction) {
    direction.receiveArmed = false;
    if (state_ == State::closing || state_ == State::closed || other(direction).ended()) return;
    direction.receive();
    proceed();
}

void TCPPair::writable(TCPDirection& direction) {
    direction.sendArmed = false;
    if (state_ == State::closing || state_ == State::closed) return;
    if (direction.flush()) clearDeadline();
    proceed();
}

void TCPPair::proceed() {
    if (isOver()) return close();
    arm(toPhone_, client_, phone_);
    if (state_ == State::open) arm(toClient_, phone_, client_);
    const bool relayIsGone = owner_.expired();
    const bool waiting = toPhone_.receiveArmed || toPhone_.sendArmed || toClient_.receiveArmed ||
                         toClient_.sendArmed || state_ == State::connecting;
    if (relayIsGone && !waiting) return close();
    const bool ending = toPhone_.ended() || toClient_.ended() || toPhone_.broken() || toClient_.broken();
    if (ending && !deadline_) setDeadline(limits_.stalled, [](TCPPair& self) { self.close(); });
}

bool TCPPair::isOver() const {
    // An end is not passed on for one direction alone: it is the end of both. A side that takes no more may
    // have sent something before it went, so that alone is not the end yet: the other direction runs into it.
    return toPhone_.delivered() || toClient_.delivered() || (toPhone_.broken() && toClient_.broken());
}

void TCPPair::arm(TCPDirection& direction, WatchedSocket& source, WatchedSocket& destination) {
    if (direction.wantsToSend() && !direction.sendArmed) {
        direction.sendArmed = true;
        destination.whenWritable([self = shared_from_this(), &direction] { self->writable(direction); });
    }
    const bool last = owner_.expired() || other(direction).ended();
    if (direction.wantsToReceive() && !direction.receiveArmed && !last) {
        direction.receiveArmed = true;
        source.whenReadable([self = shared_from_this(), &direction] { self->received(direction); });
    }
}

void TCPPair::close() {
    if (state_ == State::closing || state_ == State::closed) return;
    const auto self = shared_from_this();  // the owner may hold the only other reference
    const bool phoneIsConnected = state_ == State::open;
    state_ = State::closing;
    if (const auto owner = owner_.lock()) owner->pairEnded(*this);
    if (!phoneIsConnected) phone_.close();
    setDeadline(limits_.drain, [](TCPPair& pair) {
        pair.client_.close();
        pair.phone_.close();
        pair.finishWhenDrained();
    });
    endSending(client_, toPhone_);
    endSending(phone_, toClient_);
    finishWhenDrained();
}

void TCPPair::endSending(WatchedSocket& socket, const TCPDirection& from) {
    if (!socket.isOpen()) return;
    // Nothing comes after an end that was seen, so nothing can turn this close into a reset.
    if (from.ended()) return socket.close();
    ::shutdown(socket.get(), SHUT_WR);
    waitToDrain(socket);
}

void TCPPair::drain(WatchedSocket& socket) {
    if (!socket.isOpen()) return;
    ReceiveBuffer& buffer = receiveBuffer();
    for (int round = 0; round < drainReceivesPerTurn; ++round) {
        const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (count > 0) drainedBytes_ += static_cast<std::size_t>(count);
        const bool nothingYet = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
        if ((count <= 0 && !nothingYet) || drainedBytes_ > limits_.drainBytes) return socket.close();
        if (nothingYet) break;
    }
    waitToDrain(socket);
}

void TCPPair::waitToDrain(WatchedSocket& socket) {
    socket.whenReadable([self = shared_from_this(), &socket] {
        self->drain(socket);
        self->finishWhenDrained();
    });
}

void TCPPair::finishWhenDrained() {
    if (state_ == State::closed || client_.isOpen() || phone_.isOpen()) return;
    state_ = State::closed;
    clearDeadline();
    if (const auto owner = owner_.lock()) owner->pairClosed(*this);
}

void TCPPair::cancel() {
    state_ = State::closed;
    clearDeadline();
    for (WatchedSocket* socket : {&client_, &phone_}) {
        if (!socket->isOpen()) continue;
        // What is unread now would turn the close into a reset; what comes later may.
        ::shutdown(socket->get(), SHUT_WR);
        for (int round = 0; round < drainReceivesPerTurn; ++round) {
            if (::recv(socket->get(), receiveBuffer().data(), receiveLimitBytes, 0) <= 0) break;
        }
        socket->close();
    }
}

template <typename Action>
void TCPPair::setDeadline(std::chrono::milliseconds limit, Action action) {
    clearDeadline();
    deadline_.emplace(loop_, limit);
    deadline_->async_wait(
        [weak = weak_from_this(), number = deadlineNumber_, action](const boost::system::error_code& error) {
            const auto self = weak.lock();
            if (!error && self && number == self->deadlineNumber_) action(*self);
        });
}

void TCPPair::clearDeadline() {
    deadline_.reset();
    ++deadlineNumber_;
}

}  // namespace quillbay
