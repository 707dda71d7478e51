#pragma once

#include <chrono>

#include "platform/StopToken.h"

namespace quillbay {

/// Time as the system sees it, so that tests can drive it by hand. All members may be called on any thread.
class Clock {
 public:
    virtual ~Clock() = default;

    /// The time of day.
    [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;

    /// Time that only goes forward, for deadlines and ages.
    [[nodiscard]] virtual std::chrono::steady_clock::time_point steadyNow() const = 0;

    /// Blocks for `duration` or until the stop. Returns false when stopped.
    virtual bool sleepFor(std::chrono::nanoseconds duration, const StopToken& token) = 0;
};

class SystemClock final : public Clock {
 public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override;
    [[nodiscard]] std::chrono::steady_clock::time_point steadyNow() const override;
    bool sleepFor(std::chrono::nanoseconds duration, const StopToken& token) override;
};

}  // namespace quillbay
