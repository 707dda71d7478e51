#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quillbay::lab {

/// SHA-256 (FIPS 180-4) of a stream of bytes.
class Sha256 {
 public:
    void update(std::span<const std::byte> bytes);

    /// The digest of everything so far as 64 hexadecimal digits in lower case. Nothing may be added
    /// afterwards.
    std::string finish();

 private:
    static constexpr std::size_t blockBytes = 64;

    void absorb(const std::byte* block);

    std::array<std::uint32_t, 8> state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                        0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<std::byte, blockBytes> pending_{};
    std::size_t pendingBytes_ = 0;
    std::uint64_t totalBytes_ = 0;
};

}  // namespace quillbay::lab
