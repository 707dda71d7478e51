#pragma once

#include <string>
#include <string_view>

namespace quillbay::control {

/// The display name that a person gave, without white space at its ends. Throws RefusedRequest when nothing
/// is left, and when it holds control characters: a name appears in the lines of the log.
std::string checkedDisplayName(std::string_view name);

}  // namespace quillbay::control
