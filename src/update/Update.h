#pragma once

#include <optional>
#include <string>

namespace quillbay {

/// A newer version than the one that runs, and where to get it. `version` is as the service wrote it: any
/// text.
struct Update {
    std::string version;
    std::string downloadURL;
    std::optional<std::string> releaseNotesURL;

    bool operator==(const Update&) const = default;
};

}  // namespace quillbay
