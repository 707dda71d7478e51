#pragma once

#include <string>

namespace quillbay {

/// Names the calling thread for debuggers. A system with a limit on the length keeps the end of the name,
/// which tells more than the common beginning of the labels.
void setThreadName(const std::string& name);

}  // namespace quillbay
