#include "platform/posix/PlainDatagrams.h"

#include <sys/socket.h>

#include <cerrno>

#include "platform/Sockets.h"

namespace quillbay::plain {

namespace {

ssize_t receiveOne(int socket, Directed directed, Datagram& place) {
    if (directed == Directed::yes) return ::recv(socket, place.bytes, datagramRoomBytes, MSG_DONTWAIT);
    socklen_t length = sizeof place.peer;
    return ::recvfrom(socket, place.bytes, datagramRoomBytes, MSG_DONTWAIT,
                      reinterpret_cast<sockaddr*>(&place.peer), &length);
}

ssize_t sendOne(int socket, Directed directed, const Datagram& datagram) {
    const int flags = noSignalFlag() | MSG_DONTWAIT;
    if (directed == Directed::yes) return ::send(socket, datagram.bytes, datagram.size, flags);
    return ::sendto(socket, datagram.bytes, datagram.size, flags,
                    reinterpret_cast<const sockaddr*>(&datagram.peer), sizeof datagram.peer);
}

}  // namespace

DatagramCount receiveDatagrams(int socket, Directed directed, std::span<Datagram> places) {
    std::size_t count = 0;
    while (count < places.size()) {
        const ssize_t size = receiveOne(socket, directed, places[count]);
        if (size >= 0) {
            places[count++].size = static_cast<std::size_t>(size);
        } else if (errno != EINTR) {
            // That there are no more is no error of those that there were.
            const bool none = errno == EAGAIN || errno == EWOULDBLOCK;
            return {count, none && count > 0 ? 0 : errno};
        }
    }
    return {count, 0};
}

DatagramCount sendDatagrams(int socket, Directed directed, std::span<const Datagram> datagrams) {
    std::size_t count = 0;
    while (count < datagrams.size()) {
        if (sendOne(socket, directed, datagrams[count]) >= 0) {
            ++count;
        } else if (errno != EINTR) {
            return {count, errno};
        }
    }
    return {count, 0};
}

}  // namespace quillbay::plain
