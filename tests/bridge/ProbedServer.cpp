#include "bridge/ProbedServer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <random>
#include <system_error>

#include "platform/Sockets.h"

namespace quillbay::fakes {

std::string randomLoopbackAddress() {
    std::random_device random;
    std::uniform_int_distribution<int> part(2, 250);
    return "127." + std::to_string(part(random)) + "." + std::to_string(part(random)) + "." +
           std::to_string(part(random));
}

ProbedServer::ProbedServer(Manner manner, std::size_t ports, std::string reply)
    : manner_(manner), reply_(std::move(reply)), address_(randomLoopbackAddress()) {
    // Programs that listen on every address may hold ports of a range, so there are several tries.
    for (int attempt = 0; attempt < 50; ++attempt) {
        std::random_device random;
        firstPort_ = static_cast<std::uint16_t>(std::uniform_int_distribution<int>(10000, 30000)(random));
        listeners_.resize(ports);
        if (listen()) break;
        listeners_.clear();
    }
    EXPECT_EQ(listeners_.size(), ports);
    if (manner_ != Manner::ignores) thread_ = std::thread([this] { run(); });
}

ProbedServer::~ProbedServer() {
    ending_ = true;
    if (thread_.joinable()) thread_.join();
}

std::uint16_t ProbedServer::lastPort() const {
    return static_cast<std::uint16_t>(firstPort_ + listeners_.size() - 1);
}

std::vector<std::string> ProbedServer::received() const {
    const std::lock_guard lock(mutex_);
    return received_;
}

bool ProbedServer::listen() {
    for (std::size_t i = 0; i < listeners_.size(); ++i) {
        try {
            listeners_[i] = listenTCP(address_, static_cast<std::uint16_t>(firstPort_ + i));
        } catch (const std::system_error&) {
            return false;
        }
    }
    return true;
}

void ProbedServer::run() {
    while (!ending_) {
        std::vector<pollfd> entries;
        for (const auto& listener : listeners_)
            entries.push_back({listener.get(), POLLIN, 0});
        for (const auto& connection : connections_)
            entries.push_back({connection.socket.get(), POLLIN, 0});
        ::poll(entries.data(), static_cast<nfds_t>(entries.size()), 5);
        for (std::size_t i = 0; i < listeners_.size(); ++i)
            if (entries[i].revents != 0) accept(listeners_[i].get());
        sweep();
    }
}

void ProbedServer::accept(int listener) {
    int error = 0;
    UniqueDescriptor socket = acceptConnection(listener, error);
    if (!socket.valid()) return;
    std::size_t index = 0;
    {
        const std::lock_guard lock(mutex_);
        index = received_.size();
        received_.emplace_back();
    }
    if (manner_ == Manner::closesAtOnce) return;
    connections_.push_back({std::move(socket), index});
    // Those that are still open after this were open together when it began.
    sweep();
    most_ = std::max(most_.load(), connections_.size());
}

bool ProbedServer::serve(const Connection& connection) {
    std::array<char, 4096> bytes{};
    const ssize_t count = ::recv(connection.socket.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EWOULDBLOCK;
    if (count == 0) return false;
    const std::lock_guard lock(mutex_);
    std::string& text = received_[connection.index];
    text.append(bytes.data(), static_cast<std::size_t>(count));
    if (manner_ != Manner::answers || text.size() < 11) return true;
    const std::size_t length =
        static_cast<unsigned char>(text[9]) * 256U + static_cast<unsigned char>(text[10]);
    if (text.size() >= 11 + length)
        (void)::send(connection.socket.get(), reply_.data(), reply_.size(), noSignalFlag());
    return true;
}

void ProbedServer::sweep() {
    std::erase_if(connections_, [this](const Connection& connection) { return !serve(connection); });
    open_ = connections_.size();
}

}  // namespace quillbay::fakes
