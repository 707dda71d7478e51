#include "bridge/TCPRelay.h"

#include <utility>

#include "bridge/TCPRelayCore.h"

namespace quillbay {

TCPRelay::TCPRelay(NetworkThreads& network, std::string localIP, std::uint16_t localPort,
                   const std::string& remoteHost, std::uint16_t remotePort,
                   std::shared_ptr<RelayAccess> access)
    : core_(std::make_shared<Core>(network.relayLoopFor(localPort), std::move(localIP), localPort, remoteHost,
                                   remotePort, onError, std::move(access))) {}

TCPRelay::~TCPRelay() {
    core_->abandon();
}

void TCPRelay::start() {
    core_->start();
}

void TCPRelay::startBlocking(std::chrono::milliseconds timeout) {
    core_->startBlocking(timeout);
}

void TCPRelay::stop() {
    core_->stop();
}

std::int64_t TCPRelay::activeConnectionCount() const {
    return core_->activePairs();
}

void TCPRelay::endConnectionsOfOthers() {
    core_->endConnectionsOfOthers();
}

std::size_t TCPRelay::connectionCount() const {
    return core_->stopped() ? 0 : 2 * static_cast<std::size_t>(core_->activePairs());
}

std::uint16_t TCPRelay::boundPort() const {
    return core_->stopped() ? std::uint16_t{0} : core_->port();
}

}  // namespace quillbay
