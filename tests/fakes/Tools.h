#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/ChildProcess.h"

namespace quillbay::fakes {

/// The path of a scripted tool.
inline std::string toolPath(const std::string& name) {
    return std::string(QUILLBAY_TEST_TOOLS "/") + name;
}

/// A command whose two outputs both go to pipes.
inline ChildCommand piped(std::string executable, std::vector<std::string> arguments = {}) {
    return {std::move(executable), std::move(arguments), ChildCommand::Output::pipe,
            ChildCommand::Output::pipe};
}

/// The same without its outputs.
inline ChildCommand silent(std::string executable, std::vector<std::string> arguments = {}) {
    return {std::move(executable), std::move(arguments), ChildCommand::Output::null,
            ChildCommand::Output::null};
}

}  // namespace quillbay::fakes
