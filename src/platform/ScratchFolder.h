#pragma once

#include <filesystem>
#include <string>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// A folder for what is made on the way to something else: under a name that nobody can guess, for this user
/// alone, removed with its content in the end.
///
/// From its making to its end it is locked (flock(2)), and the system takes the lock back when the process
/// dies: a folder of such a name without a lock has been left by a program that was killed.
class ScratchFolder {
 public:
    /// Makes the folder `prefix` + six characters below `parent`, which is made where it is missing. Throws
    /// std::system_error.
    ScratchFolder(const std::filesystem::path& parent, const std::string& prefix);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Removes this user's folders of such names below `parent` that killed programs have left. Best effort;
    /// blocks for as long as it takes to list `parent`.
    static void removeLeftOver(const std::filesystem::path& parent, const std::string& prefix);

 private:
    std::filesystem::path path_;
    UniqueDescriptor lock_;
};

}  // namespace quillbay
