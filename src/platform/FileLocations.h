#pragma once

#include <filesystem>

namespace quillbay {

/// Where this user's files lie. A constructor argument of everything that keeps files, so that tests use
/// their own.
struct FileLocations {
    /// The per-user application-support directory, without the program's own folder.
    std::filesystem::path applicationSupport;
    /// The directory for settings, without the program's own folder.
    std::filesystem::path configuration;
    /// The user's temporary directory.
    std::filesystem::path temporary;
    /// For sockets and locks, without the program's own folder: see `runtimeDirectory`.
    std::filesystem::path runtime;

    /// The system's: `~/Library/Application Support` and `~/Library/Preferences` on the Mac; `$XDG_DATA_HOME`
    /// and
    /// `$XDG_CONFIG_HOME` with their defaults on Linux (XDG base directories, 0.8).
    /// Throws std::runtime_error when the user has no home directory: the process cannot go on then.
    static FileLocations system();
};

/// The folder name of this program below those directories.
inline constexpr const char* applicationFolder = "Quillbay";

/// The directory for what lasts as long as the user's session: the user's temporary directory on the Mac,
/// `$XDG_RUNTIME_DIR` on Linux, and without that `/run/user/UID` where it is this user's, else a folder of
/// the user's own in the temporary directory. Needs no home and creates nothing.
std::filesystem::path runtimeDirectory();

}  // namespace quillbay
