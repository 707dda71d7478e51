#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/UniqueDescriptor.h"

namespace quillbay::bench {

/// How many threads everything that is measured has: what the relays take by default.
unsigned threadsEach();

/// A child process of the benchmark; ended and waited for with the object.
class Child {
 public:
    /// Throws std::runtime_error when it cannot be started. The program is looked for in the PATH.
    explicit Child(const std::vector<std::string>& command);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The next line of its output; empty at the end.
    std::string line();
    /// The rest of its output, until it closes that.
    std::string rest();

    // Of it and of the children that it has now:

    /// What all threads have used of the processors, and the children that have ended.
    [[nodiscard]] double processorSeconds() const;
    /// How often the threads gave the processor up by themselves.
    [[nodiscard]] long voluntarySwitches() const;
    /// Memory that is theirs, with a fair part of what they share.
    [[nodiscard]] double memoryKiB() const;

 private:
    [[nodiscard]] std::vector<pid_t> family() const;

    pid_t pid_ = -1;
    UniqueDescriptor input_;
    UniqueDescriptor output_;
};

}  // namespace quillbay::bench
