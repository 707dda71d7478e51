#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// The interface of the IPv4 default route with the lowest metric, the first of several; nothing without one.
/// `table` is the text of `/proc/…/net/route` (proc(5), the main routing table): a heading, then a line per
/// route with
///
///     interface  destination  gateway  flags  references  uses  metric  mask  …
///
/// in hexadecimal but for the counts and the metric. Lines of another form are passed over.
std::optional<std::string> defaultRouteInterface(std::string_view table);

}  // namespace quillbay
