#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// A Bonjour host name without what the same device's names differ in: lower-cased, without one final dot,
/// and without ".coredevice.local" or else ".local" at its end.
std::string hostBaseName(std::string_view host);

/// `name` without the suffix that a device appends when its name is taken: at the end, a hyphen and a number
/// of at least 2 without leading zeros ("phone-3" and "phone-10" give "phone"). Nothing when it has no such
/// suffix ("phone-1", "phone-02") or is nothing else ("-2").
std::optional<std::string> withoutConflictSuffix(std::string_view name);

// The same for a host name, with or without ".local" and a final dot at its end.

bool hasNamingConflictSuffix(std::string_view host);

/// "phone-2.local" gives "phone.local"; `host` itself when it has no such suffix.
std::string stripNamingConflictSuffix(std::string_view host);

}  // namespace quillbay
