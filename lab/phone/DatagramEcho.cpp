#include "phone/DatagramEcho.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <vector>

namespace quillbay::lab {

namespace asio = boost::asio;
using asio::ip::udp;

namespace {

constexpr std::size_t largestDatagram = 65536;
/// Bursts of a test's whole window must fit while this one thread is at something else.
constexpr int receiveBufferBytes = 4 * 1024 * 1024;

}  // namespace

DatagramEcho::DatagramEcho(asio::io_context& context, ModeGate& gate, const std::string& address,
                           std::uint16_t port)
    : socket_(std::make_shared<Socket>(context, udp::endpoint(asio::ip::make_address(address), port))) {
    boost::system::error_code ignored;
    socket_->set_option(udp::socket::receive_buffer_size(receiveBufferBytes), ignored);
    asio::co_spawn(context, serve(socket_, gate), asio::detached);
}

DatagramEcho::~DatagramEcho() {
    boost::system::error_code ignored;
    socket_->close(ignored);
}

asio::awaitable<void> DatagramEcho::serve(std::shared_ptr<Socket> socket, ModeGate& gate) {
    std::vector<char> datagram(largestDatagram);
    udp::endpoint sender;
    boost::system::error_code failure;
    while (socket->is_open()) {
        const auto bytes = co_await socket->async_receive_from(
            asio::buffer(datagram), sender, asio::redirect_error(asio::use_awaitable, failure));
        // An earlier reply that met a closed port is reported here; it says nothing about this socket.
        if (failure) continue;
        co_await gate.passed();
        if (gate.mode() == PhoneMode::silent) continue;
        co_await socket->async_send_to(asio::buffer(datagram.data(), bytes), sender,
                                       asio::redirect_error(asio::use_awaitable, failure));
    }
}

}  // namespace quillbay::lab
