#pragma once

#include <string>
#include <vector>

namespace quillbay {

/// Where this system's own packages install the command-line tool `program`, in search order; empty where
/// there are no such packages.
std::vector<std::string> packagedToolPaths(const std::string& program);

}  // namespace quillbay
