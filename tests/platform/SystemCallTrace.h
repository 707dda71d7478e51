#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace quillbay {

/// What a traced child did.
struct TracedRun {
    /// The numbers of the system calls that it entered, in order.
    std::vector<long> calls;
    /// False when it was killed before it came to its end.
    bool finished = false;
};

/// Runs `body` in a forked child and kills it (SIGKILL) at its `steps`-th step: each entry to a system call
/// and each return from one is a step, so a call is met both before and after it was carried out.
TracedRun runAndKillAfter(std::size_t steps, const std::function<void()>& body);

/// The system calls of `body`, run to its end.
std::vector<long> systemCallsOf(const std::function<void()>& body);

}  // namespace quillbay
