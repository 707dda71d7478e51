#include "control/ControlConnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <utility>

#include "control/ControlDocuments.h"

namespace quillbay {

using boost::system::error_code;

ControlConnection::ControlConnection(boost::asio::io_context& loop, UniqueDescriptor socket, Events events)
    : loop_(loop), socket_(loop), events_(std::move(events)) {
    socket_.assign(boost::asio::local::stream_protocol(), socket.get());
    static_cast<void>(socket.release());
    socket_.non_blocking(true);
}

void ControlConnection::start() {
    receive();
}

void ControlConnection::turnAway(std::string document) {
    ending_ = true;
    queue(std::move(document), Part::last);
}

void ControlConnection::close() {
    events_ = {};
    error_code ignored;  // closed it is, whatever the system says of it
    socket_.close(ignored);
}

void ControlConnection::shut() {
    boost::asio::post(loop_, [self = shared_from_this()] { self->fail(); });
}

void ControlConnection::fail() {
    if (!socket_.is_open()) return;
    const auto onClosed = std::move(events_.onClosed);
    close();
    if (onClosed) onClosed(shared_from_this());
}

void ControlConnection::receive() {
    if (receiving_ || inputEnded_ || ending_ || input_.size() > maxControlRequestBytes) return;
    receiving_ = true;
    socket_.async_read_some(boost::asio::buffer(chunk_),
                            [self = shared_from_this()](const error_code& error, std::size_t count) {
                                self->received(error, count);
                            });
}

void ControlConnection::received(const error_code& error, std::size_t count) {
    receiving_ = false;
    if (!socket_.is_open()) return;
    if (error && error != boost::asio::error::eof) return fail();
    input_.append(chunk_.data(), count);
    if (error) {
        inputEnded_ = true;
        if (answering_ && !lastQueued_) events_.onInputEnded(shared_from_this());
    }
    nextRequest();
    receive();
}

void ControlConnection::nextRequest() {
    if (!socket_.is_open() || answering_ || ending_) return;
    const std::size_t length = input_.find('\n');
    const bool whole = length != std::string::npos;
    if ((whole ? length : input_.size()) > maxControlRequestBytes) {
        // Where the next request would begin cannot be known without reading all of this one.
        ending_ = true;
        return refuse("The request is longer than 65536 bytes.");
    }
    if (!whole) {
        // Half a request, or none: there is nothing to be answered.
        if (inputEnded_) fail();
        return;
    }
    const std::string line = input_.substr(0, length);
    input_.erase(0, length + 1);
    answering_ = true;
    try {
        events_.onRequest(shared_from_this(), parseControlRequest(line));
        if (inputEnded_) events_.onInputEnded(shared_from_this());
    } catch (const RefusedRequest& refusal) {
        refuse(refusal.what());
    }
}

void ControlConnection::refuse(const std::string& sentence) {
    queue(control::errorDocument(sentence), Part::last);
}

void ControlConnection::send(std::string documents, Part part) {
    boost::asio::post(loop_, [self = shared_from_this(), documents = std::move(documents), part]() mutable {
        self->queue(std::move(documents), part);
    });
}

void ControlConnection::queue(std::string documents, Part part) {
    if (!socket_.is_open()) return;
    // Asked before this is added: one answer, however long, never disconnects a client that reads.
    if (waitingBytes_ >= maxWaitingBytes) return fail();
    waitingBytes_ += documents.size();
    output_.push_back(std::move(documents));
    if (part == Part::last) lastQueued_ = true;
    if (output_.size() == 1) write();
}

void ControlConnection::write() {
    boost::asio::async_write(
        socket_, boost::asio::buffer(output_.front()),
        [self = shared_from_this()](const error_code& error, std::size_t) { self->written(error); });
}

void ControlConnection::written(const error_code& error) {
    if (!socket_.is_open()) return;
    if (error) return fail();
    waitingBytes_ -= output_.front().size();
    output_.pop_front();
    if (!output_.empty()) return write();
    if (!lastQueued_) return;
    lastQueued_ = false;
    answering_ = false;
    if (ending_) return fail();
    nextRequest();
    receive();
}

}  // namespace quillbay
