#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

// All functions may be called on any thread and block for as long as the disk takes.

/// The whole file; nothing when it cannot be read, is not a regular file, or holds more than `limitBytes`.
std::optional<std::string> readFile(const std::filesystem::path& path, std::size_t limitBytes);

/// Replaces the file's content in one step: a temporary file beside it, written whole and synced, takes its
/// name, and the directory is synced. Whatever happens, the file then has the old content or the new one. The
/// file is readable by the user alone. Throws std::system_error; nothing but the old file is left behind
/// then.
void replaceFile(const std::filesystem::path& path, std::string_view content);

/// Removes what writers of this file that were killed in the middle have left beside it. The next
/// `replaceFile` of it does so too; this is for whoever may not write for long. Best effort.
void removeLeftOverParts(const std::filesystem::path& path);

/// Creates the directory and those above it that are missing, each for the user alone. An existing one is
/// left as it is. Throws std::system_error.
void makeDirectories(const std::filesystem::path& path);

/// True when a file is there that this user may execute (and that is no directory).
bool isExecutableFile(const std::filesystem::path& path);

}  // namespace quillbay
