#include "relay/Wire.h"

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/Sockets.h"

namespace quillbay::bench {

namespace {

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

// Stays in the processor's cache: what is measured is the forwarder, not this.
constexpr std::size_t receiveBytes = std::size_t{64} * 1024;

}  // namespace

Target::Target() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in any = ipv4Endpoint("127.0.0.1", 0);
    // Bounds the wait in accept.
    const timeval patience{5, 0};
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0 ||
        ::listen(listener_.get(), 4096) != 0) {
        throw std::runtime_error("cannot listen");
    }
    port_ = boundPort(listener_.get());
}

UniqueDescriptor Target::accept() const {
    UniqueDescriptor accepted(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!accepted.valid()) throw std::runtime_error("no connection came through");
    return accepted;
}

void Target::close() const {
    ::shutdown(listener_.get(), SHUT_RDWR);
}

UniqueDescriptor connectTo(const std::string& address, std::uint16_t port) {
    UniqueDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in to = ipv4Endpoint(address, port);
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
        throw std::runtime_error("cannot connect");
    return client;
}

UniqueDescriptor connectTo(const Forwarder& through) {
    return connectTo(through.address, through.port);
}

Connection connectThrough(const Forwarder& through, const Target& target, int offset) {
    UniqueDescriptor client = connectTo(through.address, static_cast<std::uint16_t>(through.port + offset));
    return {std::move(client), target.accept()};
}

void sendAtOnce(const Connection& connection) {
    const int on = 1;
    for (const int socket : {connection.client.get(), connection.server.get()})
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void sendAll(int socket, std::size_t bytes, std::size_t from) {
    const std::string& block = pattern();
    for (std::size_t done = 0; done < bytes;) {
        const std::size_t offset = (from + done) % block.size();
        const std::size_t count = std::min(block.size() - offset, bytes - done);
        const ssize_t sent = ::send(socket, block.data() + offset, count, MSG_NOSIGNAL);
        if (sent <= 0) throw std::runtime_error("the connection broke while sending");
        done += static_cast<std::size_t>(sent);
    }
}

void receiveAll(int socket, std::size_t bytes, std::size_t from) {
    const std::string& block = pattern();
    std::string buffer(receiveBytes, '\0');
    for (std::size_t done = 0; done < bytes;) {
        const std::size_t offset = (from + done) % block.size();
        const std::size_t room = std::min({buffer.size(), block.size() - offset, bytes - done});
        const ssize_t count = ::recv(socket, buffer.data(), room, 0);
        if (count <= 0) throw std::runtime_error("the connection broke while receiving");
        if (std::memcmp(buffer.data(), block.data() + offset, static_cast<std::size_t>(count)) != 0)
            throw std::runtime_error("wrong bytes arrived");
        done += static_cast<std::size_t>(count);
    }
}

const char* knownBytes(std::size_t place) {
    return pattern().data() + place;
}

double processorSeconds(const Forwarder& forwarder) {
    return forwarder.child ? forwarder.child->processorSeconds() : 0;
}

}  // namespace quillbay::bench
