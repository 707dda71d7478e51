#include "platform/Clock.h"

namespace quillbay {

std::chrono::system_clock::time_point SystemClock::now() const {
    return std::chrono::system_clock::now();
}

std::chrono::steady_clock::time_point SystemClock::steadyNow() const {
    return std::chrono::steady_clock::now();
}

bool SystemClock::sleepFor(std::chrono::nanoseconds duration, const StopToken& token) {
    return token.sleepFor(duration);
}

}  // namespace quillbay
