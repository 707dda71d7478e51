#pragma once

#include <array>
#include <boost/asio/local/stream_protocol.hpp>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "control/ControlRequest.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// One client of the control socket. Lives on one network loop, where all its members but `send` and `shut`
/// are called; the loop's operations own it for as long as its socket is open.
///
///     read a line ──► onRequest ──► send(more)… send(last) ──► all written ──► the next line
///
/// One request is answered at a time. What the client sends meanwhile waits, here up to one request's length
/// and then in the socket, so neither side of a connection can make it hold more than an answer or the limit
/// below.
class ControlConnection : public std::enable_shared_from_this<ControlConnection> {
 public:
    /// A client that leaves this much unread while an answer goes on is disconnected: by then it has stopped
    /// reading, and it must not fill the memory.
    static constexpr std::size_t maxWaitingBytes = std::size_t{1024} * 1024;

    /// Called on the loop, never after `close`.
    struct Events {
        /// The client asks. No other request comes before this one's last document was sent.
        std::function<void(const std::shared_ptr<ControlConnection>&, ControlRequest)> onRequest;
        /// The client will not send any more, while a request of its is being answered.
        std::function<void(const std::shared_ptr<ControlConnection>&)> onInputEnded;
        /// The connection is at its end, for whatever reason; the last event.
        std::function<void(const std::shared_ptr<ControlConnection>&)> onClosed;
    };

    /// Takes over a connected, non-blocking socket. Throws boost::system::system_error when the loop cannot
    /// watch it.
    ControlConnection(boost::asio::io_context& loop, UniqueDescriptor socket, Events events);

    /// Begins to read.
    void start();

    /// Tells the client why it is not served, and closes.
    void turnAway(std::string document);

    /// Ends the connection without an event.
    void close();

    /// The same on any thread, later, with its event.
    void shut();

    enum class Part { more, last };
    /// Sends documents of the answer. May be called on any thread.
    void send(std::string documents, Part part);

 private:
    void receive();
    void received(const boost::system::error_code& error, std::size_t count);
    void nextRequest();
    void refuse(const std::string& sentence);
    void queue(std::string documents, Part part);
    void write();
    void written(const boost::system::error_code& error);
    void fail();

    static constexpr std::size_t chunkBytes = std::size_t{16} * 1024;

    boost::asio::io_context& loop_;
    boost::asio::local::stream_protocol::socket socket_;
    Events events_;
    std::array<char, chunkBytes> chunk_{};
    std::string input_;
    std::deque<std::string> output_;
    std::size_t waitingBytes_ = 0;
    bool receiving_ = false;
    bool inputEnded_ = false;
    /// A request is being answered.
    bool answering_ = false;
    /// Its last document is in `output_`.
    bool lastQueued_ = false;
    /// Nothing further is read: the connection ends when `output_` is written.
    bool ending_ = false;
};

}  // namespace quillbay
