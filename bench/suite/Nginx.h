#pragma once

#include <memory>
#include <string>

#include "suite/Child.h"
#include "suite/RunFolder.h"

namespace quillbay::bench {

/// nginx with its stream module, as many workers as the relays have threads, and one server block: `server`
/// is what stands between its braces, for example "listen 127.0.0.3:5000; proxy_pass 127.0.0.1:9;". It reads
/// its configuration from `folder` after this has returned: keep that until it answers. Throws
/// std::runtime_error when there is no nginx with the module in the PATH.
std::unique_ptr<Child> startNginx(const RunFolder& folder, const std::string& server);

}  // namespace quillbay::bench
