#pragma once

#include <cstdint>

namespace quillbay {

/// What a socket can be waited for. One that has failed or was hung up is ready for both.
enum class SocketEvents : std::uint8_t { none = 0, read = 1, write = 2, both = 3 };

constexpr SocketEvents operator|(SocketEvents a, SocketEvents b) {
    return static_cast<SocketEvents>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr SocketEvents operator&(SocketEvents a, SocketEvents b) {
    return static_cast<SocketEvents>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}
/// What is in `a` and not in `b`.
constexpr SocketEvents without(SocketEvents a, SocketEvents b) {
    return static_cast<SocketEvents>(static_cast<unsigned>(a) & ~static_cast<unsigned>(b));
}

}  // namespace quillbay
