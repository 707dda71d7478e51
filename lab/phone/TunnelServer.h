#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <map>
#include <string>

#include "phone/DatagramEcho.h"
#include "phone/ModeGate.h"
#include "phone/TunnelRequest.h"

namespace quillbay::lab {

/// The phone's tunnel ports: `TunnelRequest`s on TCP, an echo on UDP. One thread only; must outlive the
/// loop's last run.
class TunnelServer {
 public:
    TunnelServer(boost::asio::io_context& context, ModeGate& gate, std::string address);

    /// Serves one more port. Nothing happens for one that is served already. Throws
    /// boost::system::system_error when the port is taken.
    void open(std::uint16_t port);

 private:
    using Socket = boost::asio::ip::tcp::socket;

    struct Port {
        Port(boost::asio::io_context& context, ModeGate& gate, const std::string& address,
             std::uint16_t port);
        boost::asio::ip::tcp::acceptor acceptor;
        DatagramEcho datagrams;
    };

    boost::asio::awaitable<void> acceptAll(Port& port);
    boost::asio::awaitable<void> serve(Socket socket);
    boost::asio::awaitable<void> send(Socket& socket, TunnelRequest request);
    boost::asio::awaitable<void> receive(Socket& socket, std::string already, std::uint64_t bytes);
    boost::asio::awaitable<void> echo(Socket& socket, std::string already);

    boost::asio::io_context& context_;
    ModeGate& gate_;
    std::string address_;
    std::map<std::uint16_t, Port> ports_;
};

}  // namespace quillbay::lab
