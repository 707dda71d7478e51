#pragma once

#include "platform/UniqueDescriptor.h"

namespace quillbay {

// What the systems do differently with the descriptors around the start of a child.

struct PipeEnds {
    UniqueDescriptor reading;
    UniqueDescriptor writing;
};

/// A new pipe whose ends are close-on-exec. Throws std::system_error; no descriptor is left behind then.
PipeEnds openPipe();

/// Makes every open descriptor from `lowest` upwards close-on-exec. Async-signal-safe: for a child between
/// fork and exec. Best effort, because all descriptors of this program are close-on-exec from birth where the
/// system can do it.
void closeOnExecFrom(int lowest) noexcept;

}  // namespace quillbay
