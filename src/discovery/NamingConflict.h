#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// A Bonjour host name without what the same device's names differ in: lower-cased, without one final dot,
/// and without ".coredevice.local" or else ".local" at its end.
std::string hostBaseName(std::string_view host);

/// `name` without the suffix that a device appends when its name is taken: a hyphen, a digit from 2 to 9 and
/// any further digits, at the end ("phone-3" gives "phone"). Nothing when it has no such suffix ("phone-1").
std::optional<std::string> withoutConflictSuffix(std::string_view name);

}  // namespace quillbay
