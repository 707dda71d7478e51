#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "bridge/RelayListener.h"
#include "bridge/SocketAddress.h"
#include "bridge/TCPPair.h"
#include "bridge/TCPRelay.h"

namespace quillbay {

/// The part of a relay that lives on its loop: the listener and the pairs.
class TCPRelay::Core final : public RelayListener, public TCPPairOwner {
 public:
    Core(EventLoop& loop, std::string localIP, std::uint16_t localPort, const std::string& remoteHost,
         std::uint16_t remotePort, const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access);

    // Any thread:
    [[nodiscard]] std::int64_t activePairs() const { return activePairs_; }

    void pairEnded(TCPPair& pair) override;
    void pairClosed(TCPPair& pair) override;

 private:
    UniqueDescriptor open(const std::string& address, std::uint16_t port) override;
    void serve() override { accept(); }
    void cancelConnections() override;
    void forgetConnections() override;
    void endRefusedConnections() override;

    void accept();
    /// What one try to accept and serve a client came to.
    enum class Accepted { yes, nobodyWaits, noRoom, listenerFailed };
    Accepted acceptOne();
    bool connect(UniqueDescriptor client);
    void tryLater();
    void cancelRetry();

    // Nothing for a host that is no numeric address: each client then sees its connection closed.
    std::optional<SocketAddress> phone_;
    std::list<std::shared_ptr<TCPPair>> pairs_;
    std::atomic<std::int64_t> activePairs_ = 0;
    // A client that was accepted with the last descriptor there was; it is the first to be served.
    UniqueDescriptor parkedClient_;
    // Only while descriptors are short.
    std::optional<EventLoop::Timer> retry_;
};

}  // namespace quillbay
