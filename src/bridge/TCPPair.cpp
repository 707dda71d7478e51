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

TCPPair::TCPPair(EventLoop& loop, std::weak_ptr<TCPPairOwner> owner, TCPPairLimits limits)
    : loop_(loop),
      owner_(std::move(owner)),
      limits_(limits),
      client_(loop, *this),
      phone_(loop, *this),
      toPhone_(client_, phone_),
      toClient_(phone_, client_) {
    toClient_.openDestination();
}

void TCPPair::adopt(UniqueDescriptor client, UniqueDescriptor phone) {
    const auto self = shared_from_this();
    client_.adopt(std::move(client), SocketEvents::read, self);
    try {
        phone_.adopt(std::move(phone), SocketEvents::write, self);
    } catch (...) {
        client_.close();
        throw;
    }
}

void TCPPair::start(const SocketAddress* phoneAddress) {
    if (phoneAddress == nullptr) return close();
    const int failed = ::connect(phone_.get(), phoneAddress->get(), phoneAddress->size());
    if (failed != 0 && errno != EINPROGRESS && errno != EINTR) return close();
    proceed();
}

void TCPPair::readable(WatchedSocket& socket) {
    if (state_ == State::closing) {
        drain(socket);
        finishWhenDrained();
    } else if (state_ != State::closed) {
        receive(&socket == &client_ ? toPhone_ : toClient_);
    }
}

void TCPPair::writable(WatchedSocket& socket) {
    if (state_ == State::connecting && &socket == &phone_) {
        connected();
    } else if (state_ == State::connecting || state_ == State::open) {
        send(&socket == &phone_ ? toPhone_ : toClient_);
    }
}

void TCPPair::connected() {
    if (takeSocketError(phone_.get()) != 0) return close();
    state_ = State::open;
    toPhone_.openDestination();
    toPhone_.flush();
    proceed();
}

void TCPPair::receive(TCPDirection& direction) {
    if (!other(direction).ended()) direction.receive();
    proceed();
}

void TCPPair::send(TCPDirection& direction) {
    if (direction.flush()) clearDeadline();
    proceed();
}

void TCPPair::proceed() {
    if (isOver()) return close();
    waitFor(toPhone_, client_, phone_);
    if (state_ == State::open) waitFor(toClient_, phone_, client_);
    const bool relayIsGone = owner_.expired();
    const bool waiting = client_.waitsFor(SocketEvents::both) || phone_.waitsFor(SocketEvents::both);
    if (relayIsGone && !waiting) return close();
    const bool ending = toPhone_.ended() || toClient_.ended() || toPhone_.broken() || toClient_.broken();
    if (ending && !deadline_) setDeadline(limits_.stalled);
}

bool TCPPair::isOver() const {
    // An end is not passed on for one direction alone: it is the end of both. A side that takes no more may
    // have sent something before it went, so that alone is not the end yet: the other direction runs into it.
    return toPhone_.delivered() || toClient_.delivered() || (toPhone_.broken() && toClient_.broken());
}

void TCPPair::waitFor(TCPDirection& direction, WatchedSocket& source, WatchedSocket& destination) {
    if (direction.wantsToSend()) destination.wait(SocketEvents::write);
    const bool last = owner_.expired() || other(direction).ended();
    if (direction.wantsToReceive() && !last) source.wait(SocketEvents::read);
}

void TCPPair::close() {
    if (state_ == State::closing || state_ == State::closed) return;
    const auto self = shared_from_this();  // the owner may hold the only other reference
    const bool phoneIsConnected = state_ == State::open;
    state_ = State::closing;
    if (const auto owner = owner_.lock()) owner->pairEnded(*this);
    if (!phoneIsConnected) phone_.close();
    setDeadline(limits_.drain);
    endSending(client_, toPhone_);
    endSending(phone_, toClient_);
    finishWhenDrained();
}

void TCPPair::endSending(WatchedSocket& socket, const TCPDirection& from) {
    if (!socket.isOpen()) return;
    // Nothing comes after an end that was seen, so nothing can turn this close into a reset.
    if (from.ended()) return socket.close();
    ::shutdown(socket.get(), SHUT_WR);
    socket.wait(SocketEvents::read);
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
    socket.wait(SocketEvents::read);
}

void TCPPair::finishWhenDrained() {
    if (state_ == State::closed || client_.isOpen() || phone_.isOpen()) return;
    state_ = State::closed;
    clearDeadline();
    if (const auto owner = owner_.lock()) owner->pairClosed(*this);
}

void TCPPair::cancel() {
    const auto self = shared_from_this();  // its sockets may hold the only other reference
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

void TCPPair::setDeadline(std::chrono::milliseconds limit) {
    clearDeadline();
    deadline_ = loop_.startTimer(limit, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->deadlineIsOver();
    });
}

void TCPPair::clearDeadline() {
    if (deadline_) loop_.cancelTimer(*deadline_);
    deadline_.reset();
}

void TCPPair::deadlineIsOver() {
    deadline_.reset();
    if (state_ != State::closing) return close();
    client_.close();
    phone_.close();
    finishWhenDrained();
}

}  // namespace quillbay
