#include "udp/Datagrams.h"

#include <array>
#include <cstring>
#include <stdexcept>

namespace quillbay::bench {

namespace {

struct Head {
    std::uint64_t number;
    std::uint32_t flow;
    std::uint32_t unused;
};
static_assert(sizeof(Head) == smallestDatagram);

constexpr std::size_t places = 4093;

// Where the bytes of one datagram begin in here tells it from its neighbours.
const std::array<char, places + 0x10000>& noise() {
    static const auto bytes = [] {
        std::array<char, places + 0x10000> made;
        std::uint32_t state = 1;
        for (char& byte : made) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24U);
        }
        return made;
    }();
    return bytes;
}

const char* bodyOf(std::uint32_t flow, std::uint64_t number) {
    return noise().data() + (number + std::uint64_t{31} * flow) % places;
}

}  // namespace

void writeDatagram(std::span<char> datagram, std::uint32_t flow, std::uint64_t number) {
    const Head head{number, flow, 0};
    std::memcpy(datagram.data(), &head, sizeof head);
    std::memcpy(datagram.data() + sizeof head, bodyOf(flow, number), datagram.size() - sizeof head);
}

std::uint64_t readDatagram(std::span<const char> datagram, std::size_t size, std::uint32_t flow) {
    if (datagram.size() != size) throw std::runtime_error("a datagram has changed its size");
    Head head{};
    std::memcpy(&head, datagram.data(), sizeof head);
    if (head.flow != flow) throw std::runtime_error("a datagram came to the wrong client");
    const char* const body = bodyOf(flow, head.number);
    if (std::memcmp(datagram.data() + sizeof head, body, size - sizeof head) != 0) {
        throw std::runtime_error("a datagram has changed");
    }
    return head.number;
}

}  // namespace quillbay::bench
