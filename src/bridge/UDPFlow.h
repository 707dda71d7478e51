#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "bridge/DatagramBatch.h"
#include "bridge/SocketAddress.h"
#include "bridge/WatchedSocket.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// One client's socket towards the phone. Lives on its relay's loop, in the relay's table, until an error
/// ends it or the relay forgets it. Its user is told when the phone has sent something, or the flow has
/// failed: `receive` tells which, and has to follow.
class UDPFlow final : public WatchedSocket {
 public:
    /// Takes a fresh socket and directs it at the phone. Throws std::system_error when that fails. The loop
    /// and the user must outlive it.
    UDPFlow(const sockaddr_in& client, UniqueDescriptor opened, const SocketAddress& phone, EventLoop& loop,
            SocketUser& user);

    /// Sends to the phone, in order; a datagram that finds no room is dropped, as on any network. Returns how
    /// many are done with: less than all of them when the flow is dead.
    std::size_t send(std::span<const Datagram> datagrams);

    /// Adds what the phone has sent, each addressed to the client, as far as there is room. False when the
    /// flow is dead.
    bool receive(DatagramBatch& batch);

    [[nodiscard]] const sockaddr_in& client() const { return client_; }

 private:
    const sockaddr_in client_;
};

}  // namespace quillbay
