#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace quillbay::ctl {

/// How long before `now` the time was ("3 s ago", "5 min ago", "2 h ago", "4 d ago"), rounded down; a time to
/// come counts as now, for the clocks of the two programs are read one after the other. `time` is ISO 8601 in
/// UTC to the second ("2026-01-31T14:05:09Z"); any other text is given back.
std::string ageText(std::string_view time, std::chrono::system_clock::time_point now);

}  // namespace quillbay::ctl
