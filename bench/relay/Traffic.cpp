#include "relay/Traffic.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Sockets.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;

// A prime length: a block that is lost or doubled anywhere shifts everything after it.
constexpr std::size_t patternSize = 262'139;

const std::string& pattern() {
    static const std::string bytes = [] {
        std::string made(patternSize, '\0');
        std::uint32_t state = 1;
        for (char& byte : made) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24U);
        }
        return made;
    }();
    return bytes;
}

UniqueDescriptor connectTo(const Forwarder& through) {
    UniqueDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in to = ipv4Endpoint(through.address, through.port);
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
        throw std::runtime_error("cannot connect");
    }
    return client;
}

void sendAll(int socket, std::size_t bytes) {
    const std::string& block = pattern();
    std::size_t done = 0;
    while (done < bytes) {
        const std::size_t offset = done % block.size();
        const std::size_t count = std::min(block.size() - offset, bytes - done);
        const ssize_t sent = ::send(socket, block.data() + offset, count, MSG_NOSIGNAL);
        if (sent <= 0) throw std::runtime_error("the connection broke while sending");
        done += static_cast<std::size_t>(sent);
    }
}

void receiveAll(int socket, std::size_t bytes) {
    const std::string& block = pattern();
    std::string buffer(block.size(), '\0');
    std::size_t done = 0;
    while (done < bytes) {
        const std::size_t offset = done % block.size();
        const ssize_t count = ::recv(socket, buffer.data(), block.size() - offset, 0);
        if (count <= 0) throw std::runtime_error("the connection broke while receiving");
        if (std::memcmp(buffer.data(), block.data() + offset, static_cast<std::size_t>(count)) != 0) {
            throw std::runtime_error("wrong bytes arrived");
        }
        done += static_cast<std::size_t>(count);
    }
}

double used(const Forwarder& forwarder) {
    return forwarder.child ? forwarder.child->processorSeconds() : 0;
}

void echo(int socket, int count) {
    std::array<char, 64> message;
    for (int i = 0; i < count; ++i) {
        if (::recv(socket, message.data(), message.size(), MSG_WAITALL) != 64) return;
        if (::send(socket, message.data(), message.size(), MSG_NOSIGNAL) != 64) return;
    }
}

}  // namespace

Target::Target() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in any = ipv4Endpoint("127.0.0.1", 0);
    if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0 ||
        ::listen(listener_.get(), 128) != 0) {
        throw std::runtime_error("cannot listen");
    }
    port_ = boundPort(listener_.get());
}

UniqueDescriptor Target::accept() const {
    return UniqueDescriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

Bulk measureBulk(const Target& target, const Forwarder& through, int streams, std::size_t bytesEach) {
    std::vector<UniqueDescriptor> clients;
    std::vector<UniqueDescriptor> servers;
    for (int i = 0; i < streams; ++i) {
        clients.push_back(connectTo(through));
        servers.push_back(target.accept());
    }
    const double usedBefore = used(through);
    const auto start = Clock::now();
    std::vector<std::future<void>> work;
    for (std::size_t i = 0; i < clients.size(); ++i) {
        work.push_back(std::async(std::launch::async, sendAll, clients[i].get(), bytesEach));
        work.push_back(std::async(std::launch::async, receiveAll, servers[i].get(), bytesEach));
    }
    for (auto& each : work)
        each.get();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double gib = static_cast<double>(streams) * static_cast<double>(bytesEach) / (1024.0 * 1024 * 1024);
    return {gib / seconds, (used(through) - usedBefore) / gib};
}

RoundTrip measureRoundTrip(const Target& target, const Forwarder& through, int count) {
    const UniqueDescriptor client = connectTo(through);
    const UniqueDescriptor server = target.accept();
    const int on = 1;
    ::setsockopt(client.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::setsockopt(server.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    // Waits for the echo when it goes.
    [[maybe_unused]] const auto echoing = std::async(std::launch::async, echo, server.get(), count);
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(count));
    const double usedBefore = used(through);
    for (int i = 0; i < count; ++i) {
        std::array<char, 64> sent;
        std::array<char, 64> back;
        std::memcpy(sent.data(), pattern().data() + i % 100'000, sent.size());
        const auto start = Clock::now();
        if (::send(client.get(), sent.data(), sent.size(), MSG_NOSIGNAL) != 64 ||
            ::recv(client.get(), back.data(), back.size(), MSG_WAITALL) != 64 || sent != back) {
            throw std::runtime_error("an echo is wrong");
        }
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    const double usedMicroseconds = (used(through) - usedBefore) * 1e6;
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 99 / 100], usedMicroseconds / count};
}

}  // namespace quillbay::bench
