#pragma once

// What the running test holds, as Linux shows it.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <thread>

#include "fakes/WaitUntil.h"

namespace quillbay::fakes {

inline std::size_t entriesBelow(const char* directory) {
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<std::size_t>(std::distance(entries, std::filesystem::directory_iterator()));
}

/// How many descriptors are open, without the one that counting takes.
inline std::size_t openDescriptors() {
    return entriesBelow("/proc/self/fd") - 1;
}

inline std::size_t threadCount() {
    // A sanitizer starts a thread of its own together with the program's first.
    static std::once_flag first;
    std::call_once(first, [] { std::thread([] {}).join(); });
    return entriesBelow("/proc/self/task");
}

/// Whether this process has children, running or not yet reaped. Reaps none.
inline bool hasChildren() {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

/// The memory in use.
inline std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// False in a build whose sanitizer holds on to freed memory, so that numbers say nothing about the program.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool memoryCanBeMeasured = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool memoryCanBeMeasured = false;
#else
inline constexpr bool memoryCanBeMeasured = true;
#endif
#else
inline constexpr bool memoryCanBeMeasured = true;
#endif

/// A test that leaves no descriptor, no thread and no child behind.
class LeavesNothingBehind : public ::testing::Test {
 protected:
    void TearDown() override {
        EXPECT_TRUE(waitUntil([] { return !hasChildren(); })) << "a child is left";
        EXPECT_TRUE(waitUntil([this] { return openDescriptors() == descriptors_; }))
            << openDescriptors() << " descriptors are open, " << descriptors_ << " were";
        EXPECT_TRUE(waitUntil([this] { return threadCount() <= threads_; }))
            << threadCount() << " threads run, " << threads_ << " did";
    }

 private:
    std::size_t descriptors_ = openDescriptors();
    std::size_t threads_ = threadCount();
};

}  // namespace quillbay::fakes
