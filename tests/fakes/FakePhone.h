#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace quillbay::fakes {

/// A far phone's RemotePairing port on a loopback address of its own: answers, stays silent, or is closed.
class FakePhone {
 public:
    enum class Manner { answers, silent };

    /// Listens on `address`, on a port of the range that a scan covers.
    FakePhone(const std::string& address, Manner manner);
    ~FakePhone();
    FakePhone(const FakePhone&) = delete;
    FakePhone& operator=(const FakePhone&) = delete;

    [[nodiscard]] std::uint16_t port() const { return port_; }
    /// How many connections have been accepted.
    [[nodiscard]] int connections() const { return connections_; }

 private:
    void accept();

    boost::asio::io_context context_{1};
    boost::asio::ip::tcp::acceptor acceptor_{context_};
    std::vector<std::shared_ptr<boost::asio::ip::tcp::socket>> sockets_;
    Manner manner_;
    std::uint16_t port_ = 0;
    std::atomic<int> connections_{0};
    std::thread thread_;
};

}  // namespace quillbay::fakes
