#include "bridge/DatagramBatch.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

namespace quillbay {

namespace {

// Places a multiple of the processor's cache ways apart would share a few of its lines; this much more, and
// the beginnings of all of them find room side by side. The pages behind the beginnings cost nothing until a
// datagram is as long.
constexpr std::size_t distanceBytes = datagramRoomBytes + 1280;

}  // namespace

DatagramBatch::DatagramBatch(Receive& receive)
    : receive_(receive), bytes_(std::make_unique_for_overwrite<char[]>(mostDatagramsAtOnce * distanceBytes)) {
    for (std::size_t i = 0; i < places_.size(); ++i)
        places_[i].bytes = &bytes_[i * distanceBytes];
}

DatagramBatch::Received DatagramBatch::receive(int socket, Directed directed) {
    const std::span<Datagram> room = std::span(places_).subspan(count_);
    const DatagramCount received = receive_(socket, directed, room);
    if (received.count == 0) {
        const bool none = received.error == EAGAIN || received.error == EWOULDBLOCK;
        return {{}, none, none ? 0 : received.error};
    }
    // Swapped rather than removed: every place keeps its bytes.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < received.count; ++i) {
        if (room[i].size != 0) std::swap(room[i], room[kept++]);
    }
    count_ += kept;
    return {room.first(kept), received.error == 0 && received.count < room.size(), received.error};
}

void makeRoomForBursts(int socket) {
    const int bytes = 1 << 20;
    // Best effort: with less room, more of a burst is lost.
    ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

DatagramBatch& datagramBatch() {
    thread_local const auto batch = std::make_unique<DatagramBatch>();
    return *batch;
}

}  // namespace quillbay
