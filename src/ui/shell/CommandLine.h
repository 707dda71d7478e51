#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillbay {

/// What the program was started to do.
enum class StartMode { window, hidden, help, version };

/// Nothing for wrong usage. `arguments` are without the program's name.
std::optional<StartMode> parseCommandLine(const std::vector<std::string>& arguments);

/// What `--help` prints.
extern const char* const usageText;

}  // namespace quillbay
