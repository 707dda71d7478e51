#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/ChildProcess.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::fakes {

/// A program whose three standard descriptors are a terminal of its own. What it prints is taken whenever it
/// is asked about; a program that still runs at the end of this object is killed.
class OnTerminal {
 public:
    explicit OnTerminal(const ChildCommand& command);
    ~OnTerminal();
    OnTerminal(const OnTerminal&) = delete;
    OnTerminal& operator=(const OnTerminal&) = delete;

    /// All that has appeared so far; the terminal turns each line feed into CR LF, and echoes what is typed.
    const std::string& text();

    void type(std::string_view keys) const;

    bool hasEnded();
    /// After its end; 128 + the signal's number for a program that a signal ended.
    [[nodiscard]] int exitStatus() const { return status_.value_or(-1); }

 private:
    pid_t pid_ = -1;
    UniqueDescriptor terminal_;
    std::string text_;
    std::optional<int> status_;
};

}  // namespace quillbay::fakes
