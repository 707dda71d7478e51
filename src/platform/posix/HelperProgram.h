#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/HostTools.h"
#include "platform/StopToken.h"

namespace quillbay {

/// What came of asking a desktop helper.
enum class HelperOutcome {
    done,
    /// It said no, or could not be started.
    failed,
    /// There is no such program here.
    missing,
};

/// Starts a program that hands something to the desktop, and waits for its end, which tells what came of it.
/// Some become the very program that they open, and run until the user closes that: one that is still there
/// after `patience`, or when `token` is stopped, has done its work and is left running. Blocks until then.
HelperOutcome runHelper(const HostTools::Tool& tool, const std::vector<std::string>& arguments,
                        std::chrono::milliseconds patience, const StopToken& token);

}  // namespace quillbay
