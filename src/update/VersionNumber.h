#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace quillbay {

/// The three numbers that versions are compared by: 1.2 is {1, 2, 0}, and 1.2.3.9 is {1, 2, 3}. Empty pieces
/// between the dots do not count; a piece that is no decimal integer of at most 64 bits (3-beta) is 0.
std::array<std::int64_t, 3> components(std::string_view version);

/// Whether `version` is newer than `installed`.
bool isNewer(std::string_view version, std::string_view installed);

}  // namespace quillbay
