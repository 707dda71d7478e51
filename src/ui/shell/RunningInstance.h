#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/InstanceLock.h"

namespace quillbay {

/// What became of the wish to be the user's one program.
struct InstanceClaim {
    /// This one is it.
    std::optional<InstanceLock> lock;
    /// The one that runs has brought its window to the front.
    bool activated = false;
    /// Why neither is so: it would not, or does not answer.
    std::string refusal;
};

/// Whether a program that runs already is to show its window.
enum class WhenRunning { activate, leaveAlone };

/// Takes the lock on `folder`, or asks the program that holds it, at `socket`, to come to the front. One that
/// is only just starting or ending is given `patience`; meanwhile this blocks. Left alone, it counts as
/// activated. Throws as InstanceLock does when the folder cannot be locked at all.
InstanceClaim claimInstance(const std::filesystem::path& folder, const std::filesystem::path& socket,
                            WhenRunning whenRunning, const std::optional<std::string>& activationToken,
                            std::chrono::milliseconds patience);

}  // namespace quillbay
