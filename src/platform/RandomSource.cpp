#include "platform/RandomSource.h"

#include <array>
#include <random>

namespace quillbay {

std::uint32_t SystemRandomSource::uniform(std::uint32_t low, std::uint32_t high) {
    thread_local std::random_device device;
    return std::uniform_int_distribution<std::uint32_t>(low, high)(device);
}

std::string RandomSource::uuid() {
    constexpr char digits[] = "0123456789ABCDEF";
    constexpr std::array<std::size_t, 4> hyphensBefore{8, 12, 16, 20};
    std::string text;
    for (std::size_t digit = 0; digit < 32; ++digit) {
        for (const std::size_t position : hyphensBefore)
            if (digit == position) text += '-';
        std::uint32_t value = uniform(0, 15);
        if (digit == 12) value = 4;                    // the version
        if (digit == 16) value = 8U | (value & 0x3U);  // the variant
        text += digits[value];
    }
    return text;
}

}  // namespace quillbay
