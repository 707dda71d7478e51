#include "control/ControlListener.h"

#include <unistd.h>

#include <boost/asio/post.hpp>
#include <cerrno>
#include <chrono>
#include <exception>
#include <utility>

#include "control/ControlDocuments.h"
#include "platform/LocalSockets.h"
#include "platform/SerialQueue.h"
#include "platform/Sockets.h"

namespace quillbay {

using boost::system::error_code;

ControlListener::ControlListener(boost::asio::io_context& loop, UniqueDescriptor listener,
                                 ControlConnection::Events events)
    : loop_(loop), acceptor_(loop), pause_(loop), events_(std::move(events)) {
    acceptor_.assign(boost::asio::local::stream_protocol(), listener.get());
    static_cast<void>(listener.release());
}

void ControlListener::start() {
    boost::asio::post(loop_, [self = shared_from_this()] { self->accept(); });
}

void ControlListener::stop() {
    SerialQueue("com.local.mirel.Quillbay.control", loop_).sync([this] {
        error_code ignored;  // closed it is, whatever the system says of it
        acceptor_.close(ignored);
        pause_.cancel();
        for (const auto& connection : connections_)
            connection->close();
        connections_.clear();
    });
}

void ControlListener::accept() {
    if (!acceptor_.is_open()) return;
    acceptor_.async_wait(boost::asio::socket_base::wait_read,
                         [self = shared_from_this()](const error_code& error) {
                             if (!error) self->acceptWaiting();
                         });
}

void ControlListener::acceptWaiting() {
    while (acceptor_.is_open()) {
        int error = 0;
        UniqueDescriptor socket = acceptConnection(acceptor_.native_handle(), error);
        if (socket.valid()) {
            welcome(std::move(socket));
        } else if (error == EAGAIN || error == EWOULDBLOCK) {
            return accept();
        } else if (error != EINTR && error != ECONNABORTED) {
            return acceptAfterPause();
        }
    }
}

/// Without a descriptor for it, the waiting client stays in the queue, and asking again at once would spin.
void ControlListener::acceptAfterPause() {
    constexpr std::chrono::milliseconds pause{100};
    pause_.expires_after(pause);
    pause_.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error) self->accept();
    });
}

void ControlListener::welcome(UniqueDescriptor socket) {
    // The folder's mode keeps others out already; this holds even where somebody has loosened that.
    const bool ours = peerUser(socket.get()) == ::geteuid();
    std::shared_ptr<ControlConnection> connection;
    try {
        connection = std::make_shared<ControlConnection>(loop_, std::move(socket), connectionEvents());
    } catch (const std::exception&) {
        return;  // the loop has no room to watch it; the client sees that it is disconnected
    }
    const bool room = connections_.size() < maxClients;
    if (!ours)
        return connection->turnAway(
            control::errorDocument("Only the user whose program this is may use it."));
    if (!room) return connection->turnAway(control::errorDocument("Too many clients are connected."));
    connections_.insert(connection);
    connection->start();
}

ControlConnection::Events ControlListener::connectionEvents() {
    ControlConnection::Events events = events_;
    events.onClosed = [weak = weak_from_this(),
                       told = events_.onClosed](const std::shared_ptr<ControlConnection>& connection) {
        if (const auto self = weak.lock()) self->connections_.erase(connection);
        if (told) told(connection);
    };
    return events;
}

}  // namespace quillbay
