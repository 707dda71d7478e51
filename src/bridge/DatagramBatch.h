#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>

#include "platform/Datagrams.h"

namespace quillbay {

/// The datagrams that are received together and handed on together.
class DatagramBatch {
 public:
    using Receive = DatagramCount(int socket, Directed directed, std::span<Datagram> places);

    explicit DatagramBatch(Receive& receive = receiveDatagrams);

    /// Those that were received since the last `clear`, in order.
    [[nodiscard]] std::span<Datagram> datagrams() { return std::span(places_).first(count_); }
    [[nodiscard]] bool isFull() const { return count_ == places_.size(); }
    void clear() { count_ = 0; }

    struct Received {
        /// What was added, without the empty ones.
        std::span<Datagram> datagrams;
        /// Nothing more waits for now.
        bool last = false;
        /// What came after those, as an error number; 0 for none.
        int error = 0;
    };
    /// Adds what waits on the socket, as far as there is room. Must not be called when it is full.
    Received receive(int socket, Directed directed);

 private:
    Receive& receive_;
    std::unique_ptr<char[]> bytes_;
    std::array<Datagram, mostDatagramsAtOnce> places_;
    std::size_t count_ = 0;
};

/// Has the system keep more of what comes while the loop is busy elsewhere, as far as it lets a program ask
/// for that: 1 MiB, some four hundred full datagrams, where it would else be fewer than a hundred.
void makeRoomForBursts(int socket);

/// The calling thread's, so that nothing that is idle owns one. Whoever uses it clears it first.
DatagramBatch& datagramBatch();

}  // namespace quillbay
