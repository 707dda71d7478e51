#pragma once

#include <sys/types.h>

#include "platform/ChildProcess.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// A child that has just been started and that nobody has reaped yet.
struct SpawnedChild {
    pid_t pid = 0;
    /// The reading ends of the pipes, non-blocking; invalid where the command asks for none.
    UniqueDescriptor standardOutput;
    UniqueDescriptor standardError;
};

/// Starts the command and returns once its program runs. The caller must reap the child.
/// Throws std::system_error when it cannot be started; then there is no child, no zombie and no descriptor.
SpawnedChild spawnChild(const ChildCommand& command);

}  // namespace quillbay
