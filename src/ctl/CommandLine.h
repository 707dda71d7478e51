#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillbay::ctl {

/// Asks the running program.
struct Ask {
    /// The command's name.
    std::string command;
    /// The request as the protocol has it: one line, without its line feed.
    std::string request;
    /// Print the documents as they come.
    bool json = false;
    bool operator==(const Ask&) const = default;
};

struct PrintHelp {
    bool operator==(const PrintHelp&) const = default;
};

struct PrintVersion {
    bool operator==(const PrintVersion&) const = default;
};

/// What is wrong with the arguments, in a sentence without a full stop; empty when there are none.
struct UsageError {
    std::string reason;
    bool operator==(const UsageError&) const = default;
};

using CommandLine = std::variant<Ask, PrintHelp, PrintVersion, UsageError>;

/// Reads the arguments without the program's name. Looks at nothing but the working directory, which makes
/// the path of a report absolute.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// Several lines.
extern const std::string_view usageText;

}  // namespace quillbay::ctl
