#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace quillbay::fakes {

/// How many descriptors this process holds.
inline std::size_t openDescriptors() {
    // Listing the folder opens one more, the same number each time.
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/dev/fd"), std::filesystem::directory_iterator()));
}

}  // namespace quillbay::fakes
