#pragma once

#include <cstddef>

#include "ControlFile.h"

namespace quillbay::faults {

/// Where the function of the C library that is being called was called from: by the return addresses up to
/// the sixth within the program itself. Frames of this library are left out. Null when the table is full.
///
/// Neither allocates nor locks, so it may be used between fork and exec.
Site* currentSite(ControlFile& file, std::size_t function, bool inForkedChild) noexcept;

}  // namespace quillbay::faults
