#pragma once

#include <string>
#include <string_view>

namespace quillbay::control {

/// The display name that a person gave, without white space at its ends. Throws RefusedRequest when nothing
/// is left, and when it holds control characters: a name appears in the lines of the log.
std::string checkedDisplayName(std::string_view name);

/// Throws RefusedRequest when an address that a person gave is empty or holds control characters.
void checkAddress(std::string_view address);

}  // namespace quillbay::control
