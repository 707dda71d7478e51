#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <stdexcept>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Another program of this user holds the lock.
class AlreadyRunningError : public std::runtime_error {
 public:
    /// Its process id is unknown for the moment between its taking the lock and its saying so.
    explicit AlreadyRunningError(std::optional<pid_t> pid);
    [[nodiscard]] std::optional<pid_t> pid() const { return pid_; }

 private:
    std::optional<pid_t> pid_;
};

/// What at most one program of a user holds at a time: a lock on a folder that lasts as long as this object,
/// and no longer than the process, however that ends. Children do not hold it.
///
/// It is the folder and no file in it: runtime folders are tidied by programs that remove old files, and
/// then two could lock two files of one name. A folder with a socket in it stays.
class InstanceLock {
 public:
    /// Takes the lock on `folder`, without waiting. Throws AlreadyRunningError, and std::system_error when it
    /// cannot be opened or locked.
    static InstanceLock take(const std::filesystem::path& folder);

 private:
    explicit InstanceLock(UniqueDescriptor folder) : folder_(std::move(folder)) {}
    UniqueDescriptor folder_;
};

}  // namespace quillbay
