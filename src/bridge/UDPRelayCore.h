#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "bridge/RelayListener.h"
#include "bridge/SocketAddress.h"
#include "bridge/UDPFlow.h"
#include "bridge/UDPRelay.h"

namespace quillbay {

/// The part of a relay that lives on its loop: the listener and the table of flows.
class UDPRelay::Core final : public RelayListener, public UDPFlowOwner {
 public:
    Core(boost::asio::io_context& loop, std::string localIP, std::uint16_t localPort,
         const std::string& remoteHost, std::uint16_t remotePort, const RelayErrorCallback& onError);

    // Any thread:
    [[nodiscard]] std::size_t flows() const { return flowCount_; }

    void reply(const sockaddr_in& client, std::span<const char> datagram) override;
    void flowEnded(UDPFlow& flow) override;

 private:
    UniqueDescriptor open(const std::string& address, std::uint16_t port) override;
    void listen() override;
    void cancelConnections() override;
    void forgetConnections() override;

    void receive();
    void passOn(const sockaddr_in& client, std::span<const char> datagram);
    /// The client's flow, made now if there is none; nothing when it cannot be made.
    std::shared_ptr<UDPFlow> flowOf(const sockaddr_in& client);

    // Nothing for a host that is no numeric address: it cannot be reached then.
    std::optional<SocketAddress> phone_;
    std::unordered_map<std::uint64_t, std::shared_ptr<UDPFlow>> flows_;
    std::atomic<std::size_t> flowCount_ = 0;
};

}  // namespace quillbay
