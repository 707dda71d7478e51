#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace quillbay {

/// Prints times as "yyyy-MM-dd HH:mm:ss.SSS" in the computer's time zone, 24-hour clock. Within one second
/// only the milliseconds are printed anew; the time zone is looked at once a second. Used on one thread.
class LogTimestamp {
 public:
    const std::string& format(std::chrono::system_clock::time_point time);

 private:
    std::int64_t second_ = std::numeric_limits<std::int64_t>::min();
    std::string text_;
};

}  // namespace quillbay
