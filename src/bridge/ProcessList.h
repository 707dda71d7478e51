#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay::ProcessList {

/// The processes in a list of them that hold a Bonjour proxy registration, in the order of the list.
///
/// `list` is the output of `ps -axo pid=,command=`: one process a line, its id and its whole command line. A
/// line counts when it contains "dns-sd", contains "-P", and `matches` holds for it (without the blanks
/// around it). Lines that begin with no process id are left out, and everything is when `list` is not valid
/// UTF-8.
std::vector<std::int32_t> proxyRegistrations(std::string_view list,
                                             const std::function<bool(std::string_view line)>& matches);

/// The id at the start of a line without blanks around it: the decimal number before the first space; nothing
/// when there is none, or when no process can have it (0 and below stand for groups of processes wherever an
/// id is used).
std::optional<std::int32_t> processID(std::string_view line);

/// The log line about leftover registrations that were asked to end.
std::string clearedMessage(const std::vector<std::int32_t>& ids);

}  // namespace quillbay::ProcessList
