#pragma once

#include <filesystem>

namespace quillbay {

/// Makes this program's folder in the user's runtime directory, for the user alone, and the directory itself
/// if it is missing, and returns its path. What is there already must belong to the user and let nobody else
/// in: whoever can write there could put a socket of his own in the place of ours. Throws std::runtime_error
/// with a sentence when that is not so, and std::system_error when the folder cannot be made.
std::filesystem::path prepareRuntimeFolder(const std::filesystem::path& runtime);

/// Where the running program of this user can be reached, given the user's runtime directory.
std::filesystem::path controlSocketPath(const std::filesystem::path& runtime);

}  // namespace quillbay
