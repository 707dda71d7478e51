#pragma once

#include <string>
#include <string_view>

namespace quillbay::UserFacingConnectionError {

/// One short sentence for the person at the screen, made from the bridge's technical failure text. Never
/// empty, never fails. `providerDisplayName` is inserted as it stands.
std::string message(std::string_view raw, std::string_view providerDisplayName);

}  // namespace quillbay::UserFacingConnectionError
