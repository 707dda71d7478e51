#include "bridge/ProbeAttempt.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

#include "bridge/HandshakeFrame.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

/// A connection to one's own port in the range that the system draws client ports from can meet itself: both
/// ends are then one socket, and everything sent comes back as an answer.
bool isConnectedToItself(int fd) {
    sockaddr_storage local{};
    sockaddr_storage peer{};
    socklen_t localLength = sizeof local;
    socklen_t peerLength = sizeof peer;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) != 0) return false;
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) != 0) return false;
    return localLength == peerLength && std::memcmp(&local, &peer, sizeof local) == 0;
}

}  // namespace

ProbeAttempt::ProbeAttempt(boost::asio::io_context& loop, RandomSource& random, Question question, Done done)
    : random_(random),
      question_(std::move(question)),
      done_(std::move(done)),
      descriptor_(loop),
      deadline_(loop) {}

void ProbeAttempt::start() {
    tryNextAddress();
}

void ProbeAttempt::cancel() {
    if (phase_ == Phase::ended) return;
    done_ = nullptr;
    finish(std::nullopt);
}

void ProbeAttempt::tryNextAddress() {
    while (nextAddress_ < question_.addresses->size()) {
        const HostAddress& address = (*question_.addresses)[nextAddress_++];
        const Connection result = connectTo(address.withPort(question_.port));
        if (result != Connection::failed) return onConnectionResult(result);
        closeSocket(Closing::reset);
    }
    finish(RemotePairingProbeResult::noResponse);
}

ProbeAttempt::Connection ProbeAttempt::connectTo(const HostAddress& address) {
    try {
        socket_ = openSocket(address.family(), SOCK_STREAM);
    } catch (const std::system_error& error) {
        return isShortage(error.code().value()) ? Connection::noDescriptor : Connection::failed;
    }
    fd_ = socket_.get();
    if (::connect(fd_, address.get(), address.length) == 0) return Connection::made;
    if (errno == ECONNREFUSED) return Connection::refused;
    if (errno != EINPROGRESS && errno != EINTR) return Connection::failed;
    // A port of this computer has often decided by now; asking costs far less than a round through the loop.
    return isReady() ? connectionResult() : Connection::pending;
}

ProbeAttempt::Connection ProbeAttempt::connectionResult() const {
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &length) != 0) return Connection::failed;
    if (error == 0) return Connection::made;
    return error == ECONNREFUSED ? Connection::refused : Connection::failed;
}

void ProbeAttempt::onConnectionResult(Connection result) {
    switch (result) {
        case Connection::made:
            return connected();
        case Connection::refused:
            return finish(RemotePairingProbeResult::refused);
        case Connection::pending:
            return wait(question_.connectTimeout);
        case Connection::noDescriptor:
            return finish(std::nullopt);
        case Connection::failed:
            closeSocket(Closing::reset);
            return tryNextAddress();
    }
}

void ProbeAttempt::connected() {
    phase_ = Phase::sending;
    if (isConnectedToItself(fd_)) return finish(RemotePairingProbeResult::refused);
    unsent_ = handshakeFrame(question_.wireProtocolVersion, correlationValue(random_));
    if (unsent_.empty()) return finish(RemotePairingProbeResult::openButSilent);
    continueSending();
}

void ProbeAttempt::continueSending() {
    while (sent_ < unsent_.size()) {
        const ssize_t count = ::send(fd_, unsent_.data() + sent_, unsent_.size() - sent_, noSignalFlag());
        if (count > 0) {
            sent_ += static_cast<std::size_t>(count);
        } else if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return wait(question_.connectTimeout);
        } else if (count == 0 || errno != EINTR) {
            return finish(RemotePairingProbeResult::openButSilent);
        }
    }
    phase_ = Phase::receiving;
    wait(question_.replyTimeout);
}

void ProbeAttempt::receive() {
    std::array<std::uint8_t, 64> reply{};
    const ssize_t count = ::recv(fd_, reply.data(), reply.size(), 0);
    if (count > 0) return finish(RemotePairingProbeResult::remotePairingPort);
    const bool nothingYet = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    const bool late = deadline_.expiry() <= std::chrono::steady_clock::now();
    if (!nothingYet || late) return finish(RemotePairingProbeResult::openButSilent);
    armDescriptor();
}

void ProbeAttempt::wait(std::chrono::milliseconds limit) {
    if (!descriptor_.is_open()) {
        boost::system::error_code error;
        descriptor_.assign(fd_, error);
        // The loop can refuse another socket for want of memory or of watches.
        if (error) return finish(std::nullopt);
        (void)socket_.release();
    }
    ++waitNumber_;
    deadline_.expires_after(limit);
    deadline_.async_wait(
        [self = shared_from_this(), number = waitNumber_](const boost::system::error_code& error) {
            if (!error && number == self->waitNumber_) self->onDeadline();
        });
    armDescriptor();
}

void ProbeAttempt::armDescriptor() {
    using Descriptor = boost::asio::posix::stream_descriptor;
    descriptor_.async_wait(
        phase_ == Phase::receiving ? Descriptor::wait_read : Descriptor::wait_write,
        [self = shared_from_this(), number = waitNumber_](const boost::system::error_code&) {
            // An error of the wait itself shows in the call that follows.
            if (number == self->waitNumber_) self->onReady();
        });
}

bool ProbeAttempt::isReady() const {
    pollfd entry{fd_, static_cast<short>(phase_ == Phase::receiving ? POLLIN : POLLOUT), 0};
    return ::poll(&entry, 1, 0) > 0;
}

void ProbeAttempt::onReady() {
    switch (phase_) {
        case Phase::connecting:
            if (!isReady()) return armDescriptor();
            ++waitNumber_;
            return onConnectionResult(connectionResult());
        case Phase::sending:
            return continueSending();
        case Phase::receiving:
            return receive();
        case Phase::ended:
            return;
    }
}

void ProbeAttempt::onDeadline() {
    // A thread that was held up sees its deadlines before what came in meanwhile.
    if (isReady()) return onReady();
    ++waitNumber_;
    if (phase_ != Phase::connecting) return finish(RemotePairingProbeResult::openButSilent);
    closeSocket(Closing::reset);
    tryNextAddress();
}

void ProbeAttempt::finish(Outcome outcome) {
    const bool answered = outcome == RemotePairingProbeResult::remotePairingPort;
    closeSocket(answered ? Closing::graceful : Closing::reset);
    phase_ = Phase::ended;
    ++waitNumber_;
    deadline_.cancel();
    if (const Done done = std::exchange(done_, nullptr)) done(outcome);
}

void ProbeAttempt::closeSocket(Closing closing) {
    // Closing in the usual way leaves every port that was open behind in TIME_WAIT: thousands of them, after
    // a scan of a phone whose VPN accepts on all its ports.
    if (closing == Closing::reset && phase_ != Phase::connecting) {
        const linger reset{1, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    }
    boost::system::error_code ignored;
    descriptor_.close(ignored);
    socket_.reset();
    fd_ = -1;
}

}  // namespace quillbay
