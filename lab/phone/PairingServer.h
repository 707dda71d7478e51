#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <optional>
#include <string>

#include "phone/DatagramEcho.h"
#include "phone/ModeGate.h"

namespace quillbay::lab {

/// The phone's control channel on one address: answers handshakes on TCP and echoes datagrams on UDP, as its
/// mode has it. One thread only; must outlive the loop's last run.
class PairingServer {
 public:
    PairingServer(boost::asio::io_context& context, ModeGate& gate, std::string address);

    /// Listens on this port instead of the one before; 0 lets the system choose. Throws
    /// boost::system::system_error when the port is taken: the phone then listens on none.
    void listen(std::uint16_t port);

    /// Closes the listener (connections stay); `listen` opens it again.
    void close();

    /// The port of the last `listen`.
    [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
    boost::asio::awaitable<void> acceptAll(std::shared_ptr<boost::asio::ip::tcp::acceptor> acceptor);
    boost::asio::awaitable<void> converse(boost::asio::ip::tcp::socket socket);

    boost::asio::io_context& context_;
    ModeGate& gate_;
    std::string address_;
    std::shared_ptr<boost::asio::ip::tcp::acceptor> acceptor_;
    std::optional<DatagramEcho> datagrams_;
    std::uint16_t port_ = 0;
};

}  // namespace quillbay::lab
