#pragma once

#include <filesystem>

#include "platform/HostTools.h"

namespace quillbay {

/// The tools as they are found below `root`, which is "/" for the running system: where the Mac's own tool is
/// installed it is used, else its Linux counterpart.
HostTools hostToolsBelow(const std::filesystem::path& root, const std::filesystem::path& programDirectory);

}  // namespace quillbay
