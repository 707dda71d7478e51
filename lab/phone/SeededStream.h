#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillbay::lab {

/// A stream of bytes that looks random and is the same for the same seed, so that both ends know every byte
/// of it.
class SeededStream {
 public:
    explicit SeededStream(std::uint64_t seed) : state_(seed) {}

    /// Writes the next bytes of the stream; how they are cut into calls makes no difference.
    void fill(std::span<std::byte> bytes);

 private:
    std::uint64_t nextWord();

    std::uint64_t state_;
    std::uint64_t word_ = 0;
    std::size_t wordBytesLeft_ = 0;
};

}  // namespace quillbay::lab
