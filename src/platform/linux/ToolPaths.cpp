#include "platform/ToolPaths.h"

namespace quillbay {

std::vector<std::string> packagedToolPaths(const std::string& program) {
    // ZeroTier's packages put its tool beside the daemon, and some distributions merge the two folders.
    if (program == "zerotier-cli") return {"/usr/sbin/zerotier-cli", "/usr/bin/zerotier-cli"};
    return {"/usr/bin/" + program};
}

}  // namespace quillbay
