#include "delay/DelayLine.h"

#include <utility>

namespace quillbay::lab {

DelayLine::DelayLine(std::chrono::microseconds delay, std::size_t mostPackets)
    : delay_(delay), mostPackets_(mostPackets) {}

void DelayLine::put(Time now, Packet packet) {
    if (packets_.size() >= mostPackets_) {
        ++lost_;
        return;
    }
    packets_.push_back({now + delay_, std::move(packet)});
}

std::optional<DelayLine::Packet> DelayLine::take(Time now) {
    if (packets_.empty() || packets_.front().arrival > now) return std::nullopt;
    Packet packet = std::move(packets_.front().packet);
    packets_.pop_front();
    return packet;
}

std::optional<DelayLine::Time> DelayLine::nextArrival() const {
    if (packets_.empty()) return std::nullopt;
    return packets_.front().arrival;
}

}  // namespace quillbay::lab
