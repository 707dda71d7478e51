#include "phone/PairingServer.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <nlohmann/json.hpp>
#include <utility>

#include "phone/Handshake.h"
#include "phone/StatusLines.h"

namespace quillbay::lab {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

/// The frame with which to answer a body; nothing, after saying so, when it is no handshake.
std::optional<std::string> answerTo(const std::string& body, const tcp::endpoint& from) {
    std::string problem;
    const auto request = parseHandshakeRequest(body, problem);
    if (!request) {
        printStatus(
            {{"event", "refused-handshake"}, {"from", from.address().to_string()}, {"problem", problem}});
        return std::nullopt;
    }
    printStatus({{"event", "handshake"},
                 {"from", from.address().to_string()},
                 {"wireProtocolVersion", request->wireProtocolVersion},
                 {"correlationIdentifier", request->correlationIdentifier}});
    return handshakeReply(*request);
}

}  // namespace

PairingServer::PairingServer(asio::io_context& context, ModeGate& gate, std::string address)
    : context_(context), gate_(gate), address_(std::move(address)) {}

void PairingServer::listen(std::uint16_t port) {
    close();
    const auto address = asio::ip::make_address(address_);
    auto acceptor = std::make_shared<tcp::acceptor>(context_, tcp::endpoint(address, port));
    port_ = acceptor->local_endpoint().port();
    datagrams_.emplace(context_, gate_, address_, port_);
    acceptor_ = acceptor;
    asio::co_spawn(context_, acceptAll(std::move(acceptor)), asio::detached);
}

void PairingServer::close() {
    boost::system::error_code ignored;
    if (acceptor_) acceptor_->close(ignored);
    acceptor_.reset();
    datagrams_.reset();
}

asio::awaitable<void> PairingServer::acceptAll(std::shared_ptr<tcp::acceptor> acceptor) {
    while (acceptor->is_open()) {
        co_await gate_.passed();
        boost::system::error_code failure;
        tcp::socket socket =
            co_await acceptor->async_accept(asio::redirect_error(asio::use_awaitable, failure));
        if (failure) co_return;
        asio::co_spawn(context_, converse(std::move(socket)), asio::detached);
    }
}

asio::awaitable<void> PairingServer::converse(tcp::socket socket) {
    FrameReader frames;
    std::array<char, 4096> bytes{};
    boost::system::error_code failure;
    const tcp::endpoint from = socket.remote_endpoint(failure);
    while (!failure && !frames.broken()) {
        const auto count = co_await socket.async_read_some(
            asio::buffer(bytes), asio::redirect_error(asio::use_awaitable, failure));
        co_await gate_.passed();
        if (failure || gate_.mode() == PhoneMode::silent) continue;
        frames.append(std::string_view(bytes.data(), count));
        while (const auto body = frames.next()) {
            const auto reply = answerTo(*body, from);
            if (!reply) co_return;
            co_await asio::async_write(socket, asio::buffer(*reply),
                                       asio::redirect_error(asio::use_awaitable, failure));
        }
    }
}

}  // namespace quillbay::lab
