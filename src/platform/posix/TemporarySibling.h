#pragma once

#include <string>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// A file that is being written in order to replace another one of the same directory.
///
/// Its name is ".TARGET.<16 hexadecimal digits>.quillbay-partial". From its creation to its end the writer
/// holds a lock (flock(2)) on it, which the system takes back when the process dies: a file of such a name
/// without a lock has been left over, and the next writer of the same target removes it.
class TemporarySibling {
 public:
    /// Removes what earlier writers of `target` left over in the directory, then creates the file, empty and
    /// for the user alone. `directory` must outlive the object. Throws std::system_error.
    TemporarySibling(int directory, const std::string& target);

    /// Removes what writers of `target` that were killed have left over in the directory. Best effort.
    static void removeLeftOvers(int directory, const std::string& target);

    /// Removes the file unless it took the target's place.
    ~TemporarySibling();
    TemporarySibling(const TemporarySibling&) = delete;
    TemporarySibling& operator=(const TemporarySibling&) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_.get(); }

    /// Gives the file the target's name. Throws std::system_error; the target is untouched then.
    void takePlaceOfTarget();

 private:
    int directory_;
    std::string target_;
    std::string name_;  // empty once the file has the target's name
    UniqueDescriptor descriptor_;
};

}  // namespace quillbay
