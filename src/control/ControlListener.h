#pragma once

#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <memory>
#include <set>

#include "control/ControlConnection.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Accepts the clients of the control socket and keeps their connections. Lives on one network loop.
class ControlListener : public std::enable_shared_from_this<ControlListener> {
 public:
    /// Many times what a person and his scripts open; the next one is told so and disconnected.
    static constexpr std::size_t maxClients = 128;

    /// `listener` is a listening, non-blocking socket; every connection gets `events`. Throws
    /// boost::system::system_error when the loop cannot watch it.
    ControlListener(boost::asio::io_context& loop, UniqueDescriptor listener,
                    ControlConnection::Events events);

    /// Begins to accept. May be called on any thread, once.
    void start();

    /// Closes the socket and all connections and waits until that is done. Called on another thread than the
    /// loop's, while that runs. May be called more than once.
    void stop();

 private:
    void accept();
    void acceptWaiting();
    void welcome(UniqueDescriptor socket);
    void acceptAfterPause();
    [[nodiscard]] ControlConnection::Events connectionEvents();

    boost::asio::io_context& loop_;
    boost::asio::local::stream_protocol::acceptor acceptor_;
    boost::asio::steady_timer pause_;
    ControlConnection::Events events_;
    std::set<std::shared_ptr<ControlConnection>> connections_;
};

}  // namespace quillbay
