#include "phone/SeededStream.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillbay::lab {

namespace {

std::vector<std::byte> bytesOf(std::uint64_t seed, std::size_t count, std::size_t step) {
    SeededStream stream(seed);
    std::vector<std::byte> bytes(count);
    for (std::size_t at = 0; at < count; at += step) {
        stream.fill(std::span(bytes).subspan(at, std::min(step, count - at)));
    }
    return bytes;
}

TEST(SeededStream, does_not_depend_on_how_it_is_cut) {
    const auto whole = bytesOf(5, 1000, 1000);
    for (const std::size_t step : {1u, 3u, 7u, 8u, 9u, 333u})
        EXPECT_EQ(bytesOf(5, 1000, step), whole) << step;
}

TEST(SeededStream, differs_by_seed) {
    EXPECT_NE(bytesOf(5, 64, 64), bytesOf(6, 64, 64));
}

}  // namespace

}  // namespace quillbay::lab
