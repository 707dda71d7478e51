#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace quillbay::lab {

/// One direction of a long way: every packet comes out a fixed time after it went in, in its order. What does
/// not fit any more is lost, as on a real way.
class DelayLine {
 public:
    using Time = std::chrono::steady_clock::time_point;
    using Packet = std::vector<std::uint8_t>;

    /// `mostPackets`: how many may be on the way at a time.
    DelayLine(std::chrono::microseconds delay, std::size_t mostPackets);

    void put(Time now, Packet packet);

    /// The next packet that has arrived by `now`, once each.
    std::optional<Packet> take(Time now);

    /// When the next packet arrives; nothing while none is on the way.
    [[nodiscard]] std::optional<Time> nextArrival() const;

    [[nodiscard]] std::size_t lost() const { return lost_; }

 private:
    struct OnTheWay {
        Time arrival;
        Packet packet;
    };
    std::chrono::microseconds delay_;
    std::size_t mostPackets_;
    std::deque<OnTheWay> packets_;
    std::size_t lost_ = 0;
};

}  // namespace quillbay::lab
