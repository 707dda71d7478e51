#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <span>

#include "bridge/ReceiveBuffer.h"

struct iovec;

namespace quillbay {

/// Bytes on their way that the kernel did not take yet, first in first out. Has no memory of its own while
/// empty.
class SendQueue {
 public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }

    void append(std::span<const char> bytes);

    /// Room for received bytes at the end, at least one and at most `limit` of them: no copy is needed then.
    /// Must be followed by `commit` of what was received, before anything else.
    std::span<char> prepare(std::size_t limit);
    void commit(std::size_t count);

    /// The first bytes, as pieces for one system call. Returns how many pieces were filled in.
    std::size_t front(std::span<iovec> pieces) const;

    /// Removes the first `count` bytes.
    void consume(std::size_t count);

    void clear();

 private:
    struct Block {
        ReceiveBuffer bytes;
        std::size_t begin = 0;
        std::size_t end = 0;
    };
    std::deque<std::unique_ptr<Block>>& blocks();

    // Made with the first byte and dropped with the last: an empty deque owns memory, and most queues are
    // empty.
    std::unique_ptr<std::deque<std::unique_ptr<Block>>> blocks_;
    std::size_t size_ = 0;
};

}  // namespace quillbay
