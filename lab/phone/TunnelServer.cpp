#include "phone/TunnelServer.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <utility>
#include <vector>

#include "phone/SeededStream.h"
#include "phone/Sha256.h"

namespace quillbay::lab {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

/// Large enough that the cost of a system call does not show, small enough to stay in the cache.
constexpr std::size_t chunkBytes = std::size_t{256} * 1024;

/// Ends the sending side and waits for the other end to close, so that no reset overtakes what was sent.
asio::awaitable<void> finish(tcp::socket& socket) {
    boost::system::error_code failure;
    socket.shutdown(tcp::socket::shutdown_send, failure);
    std::vector<char> rest(4096);
    while (!failure) {
        co_await socket.async_read_some(asio::buffer(rest),
                                        asio::redirect_error(asio::use_awaitable, failure));
    }
}

}  // namespace

TunnelServer::Port::Port(asio::io_context& context, ModeGate& gate, const std::string& address,
                         std::uint16_t port)
    : acceptor(context, tcp::endpoint(asio::ip::make_address(address), port)),
      datagrams(context, gate, address, port) {}

TunnelServer::TunnelServer(asio::io_context& context, ModeGate& gate, std::string address)
    : context_(context), gate_(gate), address_(std::move(address)) {}

void TunnelServer::open(std::uint16_t port) {
    const auto [entry, isNew] = ports_.try_emplace(port, context_, gate_, address_, port);
    if (isNew) asio::co_spawn(context_, acceptAll(entry->second), asio::detached);
}

asio::awaitable<void> TunnelServer::acceptAll(Port& port) {
    while (true) {
        co_await gate_.passed();
        boost::system::error_code failure;
        Socket socket =
            co_await port.acceptor.async_accept(asio::redirect_error(asio::use_awaitable, failure));
        if (failure) co_return;
        asio::co_spawn(context_, serve(std::move(socket)), asio::detached);
    }
}

asio::awaitable<void> TunnelServer::serve(Socket socket) {
    std::string unread;
    boost::system::error_code failure;
    const auto lineBytes =
        co_await asio::async_read_until(socket, asio::dynamic_buffer(unread, TunnelRequest::longestLine),
                                        '\n', asio::redirect_error(asio::use_awaitable, failure));
    if (failure) co_return;
    const auto request = parseTunnelRequest(std::string_view(unread).substr(0, lineBytes - 1));
    if (!request) co_return;
    std::string already = unread.substr(lineBytes);
    switch (request->verb) {
        case TunnelRequest::Verb::get:
            co_await send(socket, *request);
            break;
        case TunnelRequest::Verb::put:
            co_await receive(socket, std::move(already), request->bytes);
            break;
        case TunnelRequest::Verb::echo:
            co_await echo(socket, std::move(already));
            break;
    }
}

asio::awaitable<void> TunnelServer::send(Socket& socket, TunnelRequest request) {
    SeededStream stream(request.seed);
    Sha256 hash;
    std::vector<std::byte> chunk(chunkBytes);
    boost::system::error_code failure;
    for (std::uint64_t left = request.bytes; left > 0 && !failure;) {
        const auto part = std::span(chunk).first(std::min<std::uint64_t>(left, chunk.size()));
        stream.fill(part);
        hash.update(part);
        co_await gate_.passed();
        co_await asio::async_write(socket, asio::buffer(part.data(), part.size()),
                                   asio::redirect_error(asio::use_awaitable, failure));
        left -= part.size();
    }
    const std::string digest = hash.finish() + "\n";
    if (failure) co_return;
    co_await asio::async_write(socket, asio::buffer(digest),
                               asio::redirect_error(asio::use_awaitable, failure));
    co_await finish(socket);
}

asio::awaitable<void> TunnelServer::receive(Socket& socket, std::string already, std::uint64_t bytes) {
    Sha256 hash;
    std::uint64_t left = bytes - std::min<std::uint64_t>(bytes, already.size());
    hash.update(std::as_bytes(std::span(already)).first(bytes - left));
    std::vector<std::byte> chunk(chunkBytes);
    boost::system::error_code failure;
    while (left > 0) {
        co_await gate_.passed();
        const auto wanted = std::min<std::uint64_t>(left, chunk.size());
        const auto count = co_await socket.async_read_some(
            asio::buffer(chunk.data(), wanted), asio::redirect_error(asio::use_awaitable, failure));
        if (failure) co_return;
        hash.update(std::span(chunk).first(count));
        left -= count;
    }
    const std::string digest = hash.finish() + "\n";
    co_await asio::async_write(socket, asio::buffer(digest),
                               asio::redirect_error(asio::use_awaitable, failure));
    co_await finish(socket);
}

asio::awaitable<void> TunnelServer::echo(Socket& socket, std::string already) {
    std::vector<char> chunk(already.begin(), already.end());
    std::size_t count = chunk.size();
    chunk.resize(chunkBytes);
    boost::system::error_code failure;
    while (!failure) {
        co_await gate_.passed();
        co_await asio::async_write(socket, asio::buffer(chunk.data(), count),
                                   asio::redirect_error(asio::use_awaitable, failure));
        if (failure) break;
        count = co_await socket.async_read_some(asio::buffer(chunk),
                                                asio::redirect_error(asio::use_awaitable, failure));
    }
    if (failure == asio::error::eof) co_await finish(socket);
}

}  // namespace quillbay::lab
