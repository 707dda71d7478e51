#include "core/LogTimestamp.h"

#include <fmt/format.h>

#include <ctime>
#include <iterator>

namespace quillbay {

namespace {

std::string formatSecond(std::int64_t second) {
    // localtime_r alone would keep the time zone of the program's start.
    tzset();
    const auto time = static_cast<std::time_t>(second);
    std::tm local{};
    localtime_r(&time, &local);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

constexpr std::size_t secondLength = 19;

}  // namespace

const std::string& LogTimestamp::format(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto second = static_cast<std::int64_t>(seconds.time_since_epoch().count());
    if (second != second_) {
        text_ = formatSecond(second);
        second_ = second;
    }
    text_.resize(secondLength);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - seconds).count();
    fmt::format_to(std::back_inserter(text_), ".{:03}", milliseconds);
    return text_;
}

}  // namespace quillbay
