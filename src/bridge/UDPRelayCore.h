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
class UDPRelay::Core final : public RelayListener {
 public:
    Core(boost::asio::io_context& loop, std::string localIP, std::uint16_t localPort,
         const std::string& remoteHost, std::uint16_t remotePort, const RelayErrorCallback& onError,
         std::shared_ptr<RelayAccess> access);

    // Any thread:
    [[nodiscard]] std::size_t flows() const { return flowCount_; }

 private:
    UniqueDescriptor open(const std::string& address, std::uint16_t port) override;
    void listen() override;
    void cancelConnections() override;
    void forgetConnections() override;
    void endRefusedConnections() override;

    void receive();
    /// Brings each client's datagrams together, in their order, and passes them on.
    void passOn(std::span<Datagram> received);
    void passOnOneClients(std::span<const Datagram> datagrams);
    /// The client's flow, made now if there is none; nothing when it cannot be made.
    UDPFlow* flowOf(const sockaddr_in& client);

    /// With the first flow, so that opening thousands of relays that nobody uses costs nothing for it.
    void prepareForFlows();
    void passBack(std::span<const std::uint64_t> flows);
    /// Sends all that is in the batch to the clients.
    void reply(DatagramBatch& batch);
    void forget(std::uint64_t flow);

    // Nothing for a host that is no numeric address: it cannot be reached then.
    std::optional<SocketAddress> phone_;
    // None before the first flow.
    std::unique_ptr<ReadySockets> replies_;
    std::unordered_map<std::uint64_t, UDPFlow> flows_;
    std::atomic<std::size_t> flowCount_ = 0;
};

}  // namespace quillbay
