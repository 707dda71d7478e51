#include "fakes/FakePhone.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <random>
#include <stdexcept>

namespace quillbay::fakes {

namespace {

using boost::asio::ip::tcp;

}  // namespace

FakePhone::FakePhone(const std::string& address, Manner manner) : manner_(manner) {
    // Any port of the scanned range will do; a taken one is another test's, so the next is tried.
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto port = static_cast<std::uint16_t>(49152 + random() % 16000);
        boost::system::error_code error;
        acceptor_.close(error);
        acceptor_.open(tcp::v4());
        acceptor_.bind({boost::asio::ip::make_address_v4(address), port}, error);
        if (error) continue;
        acceptor_.listen();
        port_ = port;
        accept();
        thread_ = std::thread([this] { context_.run(); });
        return;
    }
    throw std::runtime_error("no free port for the phone");
}

FakePhone::~FakePhone() {
    context_.stop();
    thread_.join();
}

void FakePhone::accept() {
    auto socket = std::make_shared<tcp::socket>(context_);
    acceptor_.async_accept(*socket, [this, socket](const boost::system::error_code& error) {
        if (error) return;
        ++connections_;
        sockets_.push_back(socket);
        auto buffer = std::make_shared<std::array<char, 2048>>();
        socket->async_read_some(boost::asio::buffer(*buffer),
                                [this, socket, buffer](const boost::system::error_code& failed, std::size_t) {
                                    if (failed || manner_ == Manner::silent) return;
                                    boost::system::error_code ignored;
                                    boost::asio::write(*socket, boost::asio::buffer("RPPairing", 9), ignored);
                                });
        accept();
    });
}

}  // namespace quillbay::fakes
