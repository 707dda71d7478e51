#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <memory>
#include <string>

#include "phone/ModeGate.h"

namespace quillbay::lab {

/// Sends every datagram back to where it came from. Throws boost::system::system_error when the port is
/// taken. The gate must outlive the loop's last run.
class DatagramEcho {
 public:
    DatagramEcho(boost::asio::io_context& context, ModeGate& gate, const std::string& address,
                 std::uint16_t port);
    ~DatagramEcho();
    DatagramEcho(const DatagramEcho&) = delete;
    DatagramEcho& operator=(const DatagramEcho&) = delete;

 private:
    using Socket = boost::asio::ip::udp::socket;

    /// Shares the socket, because it ends only some time after its owner has closed it.
    static boost::asio::awaitable<void> serve(std::shared_ptr<Socket> socket, ModeGate& gate);

    std::shared_ptr<Socket> socket_;
};

}  // namespace quillbay::lab
