#pragma once

#include <array>
#include <cstddef>

namespace quillbay {

/// The most that one receive takes: 64 KiB, which also holds every datagram (65,507 bytes at most).
inline constexpr std::size_t receiveLimitBytes = 0x10000;

using ReceiveBuffer = std::array<char, receiveLimitBytes>;

/// The calling thread's buffer. What is in it lasts until the next receive on the thread, so nothing that is
/// idle owns one, and it stays in the processor's cache.
ReceiveBuffer& receiveBuffer();

}  // namespace quillbay
