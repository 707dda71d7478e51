#pragma once

#include <signal.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace quillbay::children {

/// Asks `done` until it says true, for at most a generous limit. Returns its last answer.
inline bool eventually(const std::function<bool()>& done,
                       std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return done();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// False once the process has ended and been reaped.
inline bool exists(pid_t pid) {
    return ::kill(pid, 0) == 0;
}

inline std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The pieces that end in a zero byte.
inline std::vector<std::string> zeroEnded(const std::string& text) {
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\0'); end != std::string::npos; end = text.find('\0', begin)) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return pieces;
}

/// How many descriptors this process has open.
inline std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"),
                         std::filesystem::directory_iterator());
}

}  // namespace quillbay::children
