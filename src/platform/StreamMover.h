#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace quillbay {

/// Hands on what one stream socket has received to another, many receives at a time: for streams that fill
/// one receive after the other, where fewer and larger sends are most of the cost. Never blocks. Belongs to
/// one thread and keeps no bytes from one turn of it to the next.
class StreamMover {
 public:
    /// The most that one call receives, and so the most that can be left of it. More costs no less (measured
    /// over loopback up to 1 MiB), and everything else on the thread would wait for it.
    static constexpr std::size_t mostBytesAtOnce = std::size_t{256} * 1024;

    struct Moved {
        std::size_t receivedBytes = 0;
        /// The source has ended or was reset; what it sent before counts as received.
        bool ended = false;
        /// Why the destination did not take all of it, as an error number; 0 when it did.
        int sendError = 0;
    };

    virtual ~StreamMover() = default;

    /// Receives what waits, in pieces of 64 KiB at most, and sends it on. Nothing may be left of an earlier
    /// call. May receive nothing from a source that a plain receive would find something in (beside urgent
    /// data).
    virtual Moved move(int source, int destination) = 0;

    /// How many bytes were received and not taken by the destination.
    [[nodiscard]] virtual std::size_t leftBytes() const = 0;
    /// The first of them, as many as there is room for. Nothing when they are lost, which only a system in
    /// trouble causes: the stream cannot go on then.
    virtual std::size_t take(std::span<char> room) = 0;
    /// Forgets them.
    virtual void dropLeft() = 0;

 protected:
    StreamMover() = default;
    StreamMover(const StreamMover&) = delete;
    StreamMover& operator=(const StreamMover&) = delete;
};

/// The calling thread's, the quickest that the system has to give. It may own descriptors and memory: it is
/// there while somebody holds it, so whoever has nothing to move should not. Used and given up on its thread,
/// or when that has ended.
std::shared_ptr<StreamMover> streamMover();

}  // namespace quillbay
