#pragma once

#include <netinet/in.h>

#include <boost/asio/io_context.hpp>
#include <memory>
#include <span>

#include "bridge/SocketAddress.h"
#include "bridge/WatchedSocket.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

class UDPFlow;

/// The relay, as its flows see it.
class UDPFlowOwner {
 public:
    virtual void reply(const sockaddr_in& client, std::span<const char> datagram) = 0;
    /// An error has ended the flow; its socket is closed.
    virtual void flowEnded(UDPFlow& flow) = 0;

 protected:
    ~UDPFlowOwner() = default;
};

/// One client's socket towards the phone. Lives on its relay's loop and is held by the relay until an error
/// ends it or the relay closes it; it holds the relay weakly.
class UDPFlow : public std::enable_shared_from_this<UDPFlow> {
 public:
    /// Takes a fresh socket and directs it at the phone. Throws std::system_error when that fails.
    UDPFlow(boost::asio::io_context& loop, std::weak_ptr<UDPFlowOwner> owner, const sockaddr_in& client,
            UniqueDescriptor opened, const SocketAddress& phone);

    void start();
    void close() { socket_.close(); }

    enum class Sent { yes, dropped, flowIsDead };
    /// Sends to the phone; a datagram that finds no room is dropped, as on any network.
    Sent send(std::span<const char> datagram);

    [[nodiscard]] const sockaddr_in& client() const { return client_; }

 private:
    void receive();
    void end(UDPFlowOwner& owner);

    std::weak_ptr<UDPFlowOwner> owner_;
    sockaddr_in client_;
    WatchedSocket socket_;
};

}  // namespace quillbay
