#pragma once

#include <filesystem>
#include <optional>

namespace quillbay {

/// The environment's value of `name` when it is an absolute path.
std::optional<std::filesystem::path> absolutePathFromEnvironment(const char* name);

/// The user's home directory: `$HOME`, else the one in the user database. Throws std::runtime_error when
/// neither is there.
std::filesystem::path homeDirectory();

}  // namespace quillbay
