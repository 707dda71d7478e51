#include "bridge/TCPRelayCore.h"

#include <cerrno>
#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

#include "platform/DescriptorShares.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

using namespace std::chrono_literals;

// A hundred tries in ten seconds cost nothing, and a client hardly notices a tenth of a second.
constexpr auto retryInterval = 100ms;
constexpr int acceptsPerTurn = 64;

bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

bool isFailureOfListener(int error) {
    return error == EBADF || error == EINVAL || error == ENOTSOCK || error == EOPNOTSUPP || error == EFAULT;
}

}  // namespace

TCPRelay::Core::Core(EventLoop& loop, std::string localIP, std::uint16_t localPort,
                     const std::string& remoteHost, std::uint16_t remotePort,
                     const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access)
    : RelayListener(loop, std::move(localIP), localPort, onError, std::move(access)),
      phone_(SocketAddress::numeric(remoteHost, remotePort)) {}

UniqueDescriptor TCPRelay::Core::open(const std::string& address, std::uint16_t port) {
    return listenTCP(address, port);
}

void TCPRelay::Core::accept() {
    if (!socket().isOpen()) return;
    if (parkedClient_.valid() && !connect(std::move(parkedClient_))) return tryLater();
    for (int round = 0; round < acceptsPerTurn; ++round) {
        switch (acceptOne()) {
            case Accepted::yes:
                break;
            case Accepted::nobodyWaits:
                return listen();
            case Accepted::noRoom:
                return tryLater();
            case Accepted::listenerFailed:
                return;
        }
    }
    listen();
}

TCPRelay::Core::Accepted TCPRelay::Core::acceptOne() {
    if (!connectionsHaveRoom()) return Accepted::noRoom;
    int error = 0;
    UniqueDescriptor client = acceptConnection(socket().get(), error);
    if (client.valid() && !admitsConnection(client.get())) return Accepted::yes;  // and closed
    if (client.valid()) return connect(std::move(client)) ? Accepted::yes : Accepted::noRoom;
    if (error == EAGAIN || error == EWOULDBLOCK) return Accepted::nobodyWaits;
    if (isShortage(error)) return Accepted::noRoom;
    if (!isFailureOfListener(error)) return Accepted::yes;  // one client that went before it was served
    fail(std::make_exception_ptr(systemError(error)));
    return Accepted::listenerFailed;
}

bool TCPRelay::Core::connect(UniqueDescriptor client) {
    UniqueDescriptor outbound;
    try {
        outbound =
            withinShare(openSocket(phone_ ? phone_->family() : AF_INET, SOCK_STREAM), DescriptorUse::relay);
    } catch (const std::system_error&) {
        parkedClient_ = std::move(client);
        return false;
    }
    const auto self = std::static_pointer_cast<Core>(shared_from_this());
    const auto pair = std::make_shared<TCPPair>(loop(), std::weak_ptr<TCPPairOwner>(self));
    try {
        pair->adopt(std::move(client), std::move(outbound));
    } catch (const std::system_error&) {
        return false;  // the loop watches as many sockets as the system allows: this client is lost
    }
    ++activePairs_;
    pair->position = pairs_.insert(pairs_.end(), pair);
    pair->start(phone_ ? &*phone_ : nullptr);
    return true;
}

void TCPRelay::Core::tryLater() {
    cancelRetry();
    retry_ = loop().startTimer(retryInterval, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        auto& core = static_cast<Core&>(*self);
        core.retry_.reset();
        core.accept();
    });
}

void TCPRelay::Core::cancelRetry() {
    if (retry_) loop().cancelTimer(*retry_);
    retry_.reset();
}

void TCPRelay::Core::pairEnded(TCPPair& /*pair*/) {
    --activePairs_;
}

void TCPRelay::Core::pairClosed(TCPPair& pair) {
    if (!pairs_.empty()) pairs_.erase(pair.position);  // else it was forgotten, with all others
}

void TCPRelay::Core::cancelConnections() {
    cancelRetry();
    parkedClient_.reset();
    const auto pairs = std::exchange(pairs_, {});
    activePairs_ = 0;
    for (const auto& pair : pairs)
        pair->cancel();
}

void TCPRelay::Core::endRefusedConnections() {
    if (parkedClient_.valid() && !mayStay(parkedClient_.get())) parkedClient_.reset();
    const auto pairs = pairs_;  // a pair that ends leaves the list
    for (const auto& pair : pairs)
        if (!mayStay(pair->client())) pair->end();
}

void TCPRelay::Core::forgetConnections() {
    cancelRetry();
    parkedClient_.reset();
    pairs_.clear();
}

}  // namespace quillbay
