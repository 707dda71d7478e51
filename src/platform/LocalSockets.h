#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

// Stream sockets between programs of this computer, named by a path (unix(7)). Non-blocking, close-on-exec.
// All functions may be called on any thread and do not block.

/// A socket that listens at `path`, for this user alone. Something that is there already is an error
/// (EADDRINUSE). Throws std::system_error, and std::runtime_error, with a sentence, for a path that is longer
/// than the system's limit of some 100 bytes.
UniqueDescriptor listenLocal(const std::filesystem::path& path);

/// A connection to the program that listens at `path`. Throws as `listenLocal`: ENOENT or ECONNREFUSED when
/// nobody does.
UniqueDescriptor connectLocal(const std::filesystem::path& path);

/// The user at the other end, as of its connecting; nothing when the system does not tell.
std::optional<uid_t> peerUser(int descriptor);

}  // namespace quillbay
