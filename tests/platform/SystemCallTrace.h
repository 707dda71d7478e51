#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace quillbay {

struct SystemCall {
    long number = 0;
    std::uint64_t thirdArgument = 0;  // for write(2), how many bytes
};

/// What a traced child did.
struct TracedRun {
    /// The system calls that it entered, in order.
    std::vector<SystemCall> calls;
    /// False when it was killed before it came to its end.
    bool finished = false;
};

/// Runs `body` in a forked child and kills it (SIGKILL) at its `steps`-th step: each entry to a system call
/// and each return from one is a step, so a call is met both before and after it was carried out.
TracedRun runAndKillAfter(std::size_t steps, const std::function<void()>& body);

/// The system calls of `body`, run to its end, but for those by which a process (or a sanitizer) ends.
std::vector<SystemCall> systemCallsOf(const std::function<void()>& body);

}  // namespace quillbay
