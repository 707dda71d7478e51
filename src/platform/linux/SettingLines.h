#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// The value of `key` in a text of lines `KEY=value`, the last one if there are several; nothing when there
/// is none. Values are read as the files `os-release` and `machine-info` write them (os-release(5)): bare, in
/// single quotes, or in double quotes with `\` before `"`, `$`, `` ` `` and `\`. Lines that begin with `#`
/// are comments.
std::optional<std::string> settingLine(std::string_view text, std::string_view key);

}  // namespace quillbay
