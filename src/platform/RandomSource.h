#pragma once

#include <cstdint>
#include <string>

namespace quillbay {

/// Randomness, so that tests can fix it. All members may be called on any thread.
class RandomSource {
 public:
    virtual ~RandomSource() = default;

    /// A number drawn uniformly from `low` to `high`, both included.
    virtual std::uint32_t uniform(std::uint32_t low, std::uint32_t high) = 0;

    /// A random UUID (RFC 9562, version 4) in upper case.
    std::string uuid();
};

/// Draws from the system's own source.
class SystemRandomSource final : public RandomSource {
 public:
    std::uint32_t uniform(std::uint32_t low, std::uint32_t high) override;
};

}  // namespace quillbay
