#include "delay/DelayLine.h"

#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

using namespace std::chrono_literals;

constexpr DelayLine::Time start{1h};

TEST(DelayLine, lets_a_packet_out_when_its_time_has_come_and_not_before) {
    DelayLine line(15ms, 10);
    line.put(start, {1, 2, 3});
    EXPECT_EQ(line.take(start + 14'999us), std::nullopt);
    EXPECT_EQ(line.take(start + 15ms), (DelayLine::Packet{1, 2, 3}));
    EXPECT_EQ(line.take(start + 1h), std::nullopt);
}

TEST(DelayLine, keeps_the_order) {
    DelayLine line(15ms, 10);
    line.put(start, {1});
    line.put(start, {2});
    line.put(start + 1ms, {3});
    EXPECT_EQ(line.take(start + 15ms), (DelayLine::Packet{1}));
    EXPECT_EQ(line.take(start + 15ms), (DelayLine::Packet{2}));
    EXPECT_EQ(line.take(start + 15ms), std::nullopt);
    EXPECT_EQ(line.take(start + 16ms), (DelayLine::Packet{3}));
}

TEST(DelayLine, says_when_the_next_packet_arrives) {
    DelayLine line(15ms, 10);
    EXPECT_EQ(line.nextArrival(), std::nullopt);
    line.put(start, {1});
    line.put(start + 5ms, {2});
    EXPECT_EQ(line.nextArrival(), start + 15ms);
    static_cast<void>(line.take(start + 15ms));
    EXPECT_EQ(line.nextArrival(), start + 20ms);
}

TEST(DelayLine, loses_what_does_not_fit) {
    DelayLine line(15ms, 2);
    for (std::uint8_t number = 1; number <= 3; ++number)
        line.put(start, {number});
    EXPECT_EQ(line.lost(), 1U);
    EXPECT_EQ(line.take(start + 15ms), (DelayLine::Packet{1}));
    EXPECT_EQ(line.take(start + 15ms), (DelayLine::Packet{2}));
    EXPECT_EQ(line.take(start + 15ms), std::nullopt);
}

}  // namespace

}  // namespace quillbay::lab
