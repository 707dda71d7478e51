#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What the fuzz targets share. A target is one function over bytes; it must keep nothing between calls.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillbay::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process with the sentence when the invariant does not hold, whatever the build thinks of
/// assertions.
inline void require(bool held, const char* invariant) {
    if (held) return;
    std::fprintf(stderr, "broken: %s\n", invariant);
    std::abort();
}

}  // namespace quillbay::fuzz
