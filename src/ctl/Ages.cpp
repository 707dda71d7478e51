#include "ctl/Ages.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace quillbay::ctl {

namespace {

constexpr std::string_view form = "0000-00-00T00:00:00Z";

bool hasForm(std::string_view time) {
    return std::equal(time.begin(), time.end(), form.begin(), form.end(), [](char given, char expected) {
        return expected == '0' ? given >= '0' && given <= '9' : given == expected;
    });
}

/// All digits, by the form.
unsigned number(std::string_view time, std::size_t position, std::size_t digits) {
    unsigned value = 0;
    std::from_chars(time.data() + position, time.data() + position + digits, value);
    return value;
}

std::optional<std::chrono::sys_seconds> timeOf(std::string_view time) {
    if (!hasForm(time)) return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(number(time, 0, 4))),
                                           std::chrono::month(number(time, 5, 2)),
                                           std::chrono::day(number(time, 8, 2)));
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days(date) + std::chrono::hours(number(time, 11, 2)) +
           std::chrono::minutes(number(time, 14, 2)) + std::chrono::seconds(number(time, 17, 2));
}

}  // namespace

std::string ageText(std::string_view time, std::chrono::system_clock::time_point now) {
    const auto then = timeOf(time);
    if (!then) return std::string(time);
    using namespace std::chrono;
    // In seconds on both sides: in the clock's own unit, a far time would overflow.
    const auto age = std::max(floor<seconds>(now) - *then, seconds(0));
    if (age < minutes(1)) return fmt::format("{} s ago", age.count());
    if (age < hours(1)) return fmt::format("{} min ago", floor<minutes>(age).count());
    if (age < days(1)) return fmt::format("{} h ago", floor<hours>(age).count());
    return fmt::format("{} d ago", floor<days>(age).count());
}

}  // namespace quillbay::ctl
