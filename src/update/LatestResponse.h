#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// What the update service answers: a JSON object (RFC 8259). Other members are ignored.
///
///     "version"            string            the newest version, dotted numbers such as 1.4.2
///     "download_url"       string            the download page or file
///     "release_notes_url"  string, optional  the release notes; null is as good as absent
///
/// The texts are as they came; nothing has been made of them yet.
struct LatestResponse {
    std::string version;
    std::string downloadURL;
    std::optional<std::string> releaseNotesURL;

    bool operator==(const LatestResponse&) const = default;
};

/// Throws JSONError when `body` is not such an object.
LatestResponse decodeLatestResponse(std::string_view body);

}  // namespace quillbay
