#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "bridge/HostAddresses.h"
#include "bridge/RemotePairingProbe.h"
#include "platform/RandomSource.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// One probe of one port, as a state machine on one network thread: nothing of it blocks, and all of it, the
/// callback included, runs on that thread.
///
///     start ──▶ connecting ──────▶ sending ──────▶ receiving ──▶ remotePairingPort
///               │ │ ▲  deadline:    │ deadline:     │ deadline:
///               │ │ │  connect-     │ connect-      │ replyTimeout
///               │ │ │  Timeout      │ Timeout for   │
///               │ │ │  per address  │ each wait     │
///               │ └─┘ next address  └───────┬───────┘
///               │                           ▼
///               ├─▶ refused            openButSilent
///               └─▶ noResponse (no address is left)
///
/// It holds at most one socket, from `connecting` on, and has closed it before it calls back. It keeps itself
/// alive until then; `cancel` ends it without a call.
class ProbeAttempt : public std::enable_shared_from_this<ProbeAttempt> {
 public:
    struct Question {
        std::shared_ptr<const std::vector<HostAddress>> addresses;
        std::uint16_t port = 0;
        std::int64_t wireProtocolVersion = 0;
        /// For each address, and for each wait while the handshake is sent.
        std::chrono::milliseconds connectTimeout{0};
        std::chrono::milliseconds replyTimeout{0};
    };

    /// Nothing when the system had no descriptor to give, which says nothing about the port: ask again later.
    using Outcome = std::optional<RemotePairingProbeResult>;
    using Done = std::function<void(Outcome)>;

    /// `random` must outlive the attempt.
    ProbeAttempt(boost::asio::io_context& loop, RandomSource& random, Question question, Done done);

    /// Calls back once, possibly before it returns.
    void start();
    void cancel();

 private:
    enum class Phase { connecting, sending, receiving, ended };
    enum class Connection { made, refused, failed, pending, noDescriptor };

    void tryNextAddress();
    Connection connectTo(const HostAddress& address);
    [[nodiscard]] Connection connectionResult() const;
    void onConnectionResult(Connection result);
    void connected();
    void continueSending();
    void receive();

    /// Waits for what the phase waits for, with a new deadline.
    void wait(std::chrono::milliseconds limit);
    void armDescriptor();
    [[nodiscard]] bool isReady() const;
    void onReady();
    void onDeadline();

    void finish(Outcome outcome);
    enum class Closing { graceful, reset };
    void closeSocket(Closing closing);

    RandomSource& random_;
    Question question_;
    Done done_;
    Phase phase_ = Phase::connecting;
    std::size_t nextAddress_ = 0;
    std::vector<std::uint8_t> unsent_;
    std::size_t sent_ = 0;
    /// Told apart by number, so that a handler that was already on its way for an earlier wait does nothing.
    std::uint64_t waitNumber_ = 0;
    /// The socket until it is first waited for; then `descriptor_` owns it.
    UniqueDescriptor socket_;
    boost::asio::posix::stream_descriptor descriptor_;
    boost::asio::steady_timer deadline_;
    int fd_ = -1;
};

}  // namespace quillbay
