#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quillbay::fakes {

/// Waits until `condition` holds and returns true, or false when it does not within `limit`. For conditions
/// that tell nobody when they change; the limit is generous because the machine may be busy.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace quillbay::fakes
