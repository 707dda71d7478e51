#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <span>

namespace quillbay {

// Several datagrams with as few system calls as the system has for it. Non-blocking, on any thread; no
// function throws.

/// The most that a datagram can have over IPv4 (65,507 bytes) or IPv6 fits.
inline constexpr std::size_t datagramRoomBytes = 0x10000;

/// No function takes more at once.
inline constexpr std::size_t mostDatagramsAtOnce = 32;

struct Datagram {
    /// `datagramRoomBytes` of the caller's.
    char* bytes = nullptr;
    std::size_t size = 0;
    /// Where it came from or goes to; of no meaning to a socket that is directed.
    sockaddr_in peer{};
};

/// Whether a socket has been connected to its only peer.
enum class Directed { no, yes };

struct DatagramCount {
    std::size_t count = 0;
    /// What came after those, as an error number; 0 for nothing.
    int error = 0;
};

/// Receives what waits on the socket, each datagram into a place of its own, in order and at its size; also
/// the empty ones. Fewer than there are places and no error means that there are no more for now; none at all
/// is EAGAIN.
DatagramCount receiveDatagrams(int socket, Directed directed, std::span<Datagram> places);

/// Sends them in order, none of them empty, up to the first that the system does not take: that one is not
/// sent and not counted, and its error is returned.
DatagramCount sendDatagrams(int socket, Directed directed, std::span<const Datagram> datagrams);

}  // namespace quillbay
