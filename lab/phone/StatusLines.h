#pragma once

#include <nlohmann/json_fwd.hpp>

namespace quillbay::lab {

/// Prints one JSON document as a line on standard output, where whoever drives the phone reads it. Bytes that
/// are not UTF-8 are shown as U+FFFD.
void printStatus(const nlohmann::json& document);

}  // namespace quillbay::lab
