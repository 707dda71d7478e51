#include "phone/SeededStream.h"

#include <bit>
#include <cstring>

namespace quillbay::lab {

// A counter run through a mixing function with the multipliers of a well-known 64-bit finaliser: every seed
// gives the full period, and a word costs little more than writing it.
std::uint64_t SeededStream::nextWord() {
    state_ += 0x9e3779b97f4a7c15;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
}

void SeededStream::fill(std::span<std::byte> bytes) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        if (wordBytesLeft_ == 0 && bytes.size() - at >= sizeof word_ &&
            std::endian::native == std::endian::little) {
            const std::uint64_t word = nextWord();
            std::memcpy(bytes.data() + at, &word, sizeof word);
            at += sizeof word;
            continue;
        }
        if (wordBytesLeft_ == 0) {
            word_ = nextWord();
            wordBytesLeft_ = sizeof word_;
        }
        bytes[at++] = static_cast<std::byte>(word_ & 0xFF);
        word_ >>= 8;
        --wordBytesLeft_;
    }
}

}  // namespace quillbay::lab
