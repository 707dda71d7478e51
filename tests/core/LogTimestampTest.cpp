#include "core/LogTimestamp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace quillbay {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using TimePoint = std::chrono::system_clock::time_point;

TimePoint at(std::int64_t milliseconds_) {
    return TimePoint(milliseconds(milliseconds_));
}

/// Sets the time zone of the process for the life of a test.
class LogTimestampTest : public testing::Test {
 protected:
    LogTimestampTest() {
        if (const char* zone = std::getenv("TZ")) before_ = zone;
    }
    ~LogTimestampTest() override {
        if (before_) {
            ::setenv("TZ", before_->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
    }
    static void setZone(const char* zone) { ::setenv("TZ", zone, 1); }

    LogTimestamp timestamp_;

 private:
    std::optional<std::string> before_;
};

TEST_F(LogTimestampTest, prints_local_time_with_milliseconds) {
    setZone("UTC0");
    EXPECT_EQ(timestamp_.format(at(1'741'944'413'589)), "2025-03-14 09:26:53.589");
    EXPECT_EQ(timestamp_.format(at(1'741'944'413'001)), "2025-03-14 09:26:53.001");
    EXPECT_EQ(timestamp_.format(at(1'741'944'414'000)), "2025-03-14 09:26:54.000");
    EXPECT_EQ(timestamp_.format(at(1'741'993'200'000)), "2025-03-14 23:00:00.000");
}

TEST_F(LogTimestampTest, uses_the_24_hour_clock_of_the_time_zone_and_its_summer_time) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(timestamp_.format(at(1'743'296'399'999)), "2025-03-30 01:59:59.999");
    EXPECT_EQ(timestamp_.format(at(1'743'296'400'000)), "2025-03-30 03:00:00.000");
}

TEST_F(LogTimestampTest, notices_a_new_time_zone_in_the_next_second) {
    setZone("UTC0");
    EXPECT_EQ(timestamp_.format(at(1'741'944'413'000)), "2025-03-14 09:26:53.000");
    setZone("XYZ-5");
    EXPECT_EQ(timestamp_.format(at(1'741'944'414'000)), "2025-03-14 14:26:54.000");
}

TEST_F(LogTimestampTest, cuts_what_is_finer_than_a_millisecond) {
    setZone("UTC0");
    const auto time =
        at(1'741'944'413'589) + std::chrono::duration_cast<TimePoint::duration>(nanoseconds(999'000));
    EXPECT_EQ(timestamp_.format(time), "2025-03-14 09:26:53.589");
}

TEST_F(LogTimestampTest, follows_a_clock_that_is_set_back) {
    setZone("UTC0");
    EXPECT_EQ(timestamp_.format(at(1'741'944'413'589)), "2025-03-14 09:26:53.589");
    EXPECT_EQ(timestamp_.format(at(0)), "1970-01-01 00:00:00.000");
    EXPECT_EQ(timestamp_.format(at(-1)), "1969-12-31 23:59:59.999");
}

}  // namespace
}  // namespace quillbay
