#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace quillbay::bench {

/// Datagrams that are received or sent with one call, so that both ends cost as little as can be beside what
/// lies between them.
class Batch {
 public:
    static constexpr std::size_t capacity = 64;
    static constexpr std::size_t largest = 2048;

    Batch();

    /// What waits on the socket, at most `limit`; 0 when there is nothing.
    std::size_t receive(int socket, std::size_t limit = capacity);
    [[nodiscard]] std::span<const char> received(std::size_t i) const;

    /// The room for a datagram that is to be sent.
    std::span<char> place(std::size_t i, std::size_t size);
    /// The first `count` of them. What the system does not take is lost.
    void send(int socket, std::size_t count);
    /// Those that were received, each to where it came from.
    void sendBack(int socket, std::size_t count);

 private:
    std::vector<std::array<char, largest>> bytes_;
    std::array<sockaddr_in, capacity> peers_{};
    std::array<iovec, capacity> pieces_{};
    std::array<mmsghdr, capacity> messages_{};
};

}  // namespace quillbay::bench
