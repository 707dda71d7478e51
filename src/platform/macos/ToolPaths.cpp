#include "platform/ToolPaths.h"

namespace quillbay {

// The VPN clients' installers and Homebrew use the paths that every provider looks at anyway.
std::vector<std::string> packagedToolPaths(const std::string& /*program*/) {
    return {};
}

}  // namespace quillbay
