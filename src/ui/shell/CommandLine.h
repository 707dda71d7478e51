#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillbay {

/// What the program was started to do.
enum class StartMode { window, hidden, help, version };

/// Nothing for wrong usage. `arguments` are without the program's name.
std::optional<StartMode> parseCommandLine(const std::vector<std::string>& arguments);

/// Which of these arguments, for which `parseCommandLine` has nothing, is wrong: a sentence without a line
/// feed.
std::string wrongUsage(const std::vector<std::string>& arguments);

/// What `--help` prints.
extern const char* const usageText;

}  // namespace quillbay
