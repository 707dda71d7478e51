#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillbay::bench {

/// The datagrams of the benchmark: a flow, a number and bytes that follow from both.
inline constexpr std::size_t smallestDatagram = 16;

void writeDatagram(std::span<char> datagram, std::uint32_t flow, std::uint64_t number);

/// The number of a datagram that came back. Throws std::runtime_error when it is not `size` bytes long, is
/// another flow's, or differs anywhere from what was sent.
std::uint64_t readDatagram(std::span<const char> datagram, std::size_t size, std::uint32_t flow);

}  // namespace quillbay::bench
