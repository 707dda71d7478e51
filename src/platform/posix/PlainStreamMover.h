#pragma once

#include <sys/types.h>

#include <array>
#include <memory>

#include "platform/StreamMover.h"

namespace quillbay {

/// Several receives into one block of memory, and one send: for systems that have nothing better, and where
/// that cannot be had.
class PlainStreamMover final : public StreamMover {
 public:
    Moved move(int source, int destination) override;
    [[nodiscard]] std::size_t leftBytes() const override { return end_ - begin_; }
    std::size_t take(std::span<char> room) override;
    void dropLeft() override { begin_ = end_ = 0; }

 private:
    using Block = std::array<char, mostBytesAtOnce>;

    void receive(int source, Moved& moved);
    void send(int destination, Moved& moved);

    std::unique_ptr<Block> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace quillbay
