#pragma once

#include <functional>
#include <memory>

#include "platform/StopToken.h"

namespace quillbay {

/// Runs work that blocks (presence loops, scans, child processes that are waited for) on threads of its own.
///
/// Each piece of work gets a `StopToken`; every sleep and wait in it must end when that is stopped. The owner
/// of a piece keeps its `StopSource` to abandon it; destroying the `BackgroundWork` abandons all pieces and
/// waits for them, for as long as their last uninterruptible call takes.
class BackgroundWork {
 public:
    BackgroundWork();
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;

    /// Starts `work` on a thread of its own and returns the source that abandons it. May be called on any
    /// thread. Throws std::system_error when the system has no thread to give.
    StopSource run(std::function<void(StopToken)> work);

    /// How many pieces have not ended yet.
    [[nodiscard]] std::size_t pending() const;

 private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
};

}  // namespace quillbay
