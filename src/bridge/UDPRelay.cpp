#include "bridge/UDPRelay.h"

#include <utility>

#include "bridge/UDPRelayCore.h"

namespace quillbay {

UDPRelay::UDPRelay(NetworkThreads& network, std::string localIP, std::uint16_t localPort,
                   const std::string& remoteHost, std::uint16_t remotePort,
                   std::shared_ptr<RelayAccess> access)
    : core_(std::make_shared<Core>(network.relayLoopFor(localPort), std::move(localIP), localPort, remoteHost,
                                   remotePort, onError, std::move(access))) {}

UDPRelay::~UDPRelay() {
    core_->abandon();
}

void UDPRelay::start() {
    core_->start();
}

void UDPRelay::startBlocking(std::chrono::milliseconds timeout) {
    core_->startBlocking(timeout);
}

void UDPRelay::stop() {
    core_->stop();
}

void UDPRelay::endConnectionsOfOthers() {
    core_->endConnectionsOfOthers();
}

std::size_t UDPRelay::connectionCount() const {
    return core_->stopped() ? 0 : 2 * core_->flows();
}

std::uint16_t UDPRelay::boundPort() const {
    return core_->stopped() ? std::uint16_t{0} : core_->port();
}

}  // namespace quillbay
