#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "bridge/RelayListener.h"
#include "bridge/SocketAddress.h"
#include "bridge/UDPFlow.h"
#include "bridge/UDPRelay.h"

namespace quillbay {

/// The part of a relay that lives on its loop: the listener and the table of flows.
class UDPRelay::Core final : public RelayListener {
 public:
    Core(EventLoop& loop, std::string localIP, std::uint16_t localPort, const std::string& remoteHost,
         std::uint16_t remotePort, const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access);

    // Any thread:
    [[nodiscard]] std::size_t flows() const { return flowCount_; }

 private:
    UniqueDescriptor open(const std::string& address, std::uint16_t port) override;
    void serve() override { receive(); }
    void cancelConnections() override;
    void forgetConnections() override;
    void endRefusedConnections() override;

    void receive();
    /// Brings each client's datagrams together, in their order, and passes them on.
    void passOn(std::span<Datagram> received);
    void passOnOneClients(std::span<const Datagram> datagrams);
    /// The client's flow, made now if there is none; nothing when it cannot be made.
    UDPFlow* flowOf(const sockaddr_in& client);

    /// The listener, or one of the flows.
    void readable(WatchedSocket& socket) override;
    void passBackSoon();
    /// The replies of all flows that have some in this turn: sent together, they cost least.
    void passBack();
    /// Sends all that is in the batch to the clients.
    void reply(DatagramBatch& batch);
    void forget(std::uint64_t flow);

    // Nothing for a host that is no numeric address: it cannot be reached then.
    std::optional<SocketAddress> phone_;
    std::unordered_map<std::uint64_t, UDPFlow> flows_;
    // Those of `flows_` that have a reply, or are dead; the end of a turn sees to them.
    std::vector<std::uint64_t> replying_;
    bool hasRoomForBursts_ = false;
    std::atomic<std::size_t> flowCount_ = 0;
};

}  // namespace quillbay
