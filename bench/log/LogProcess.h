#pragma once

#include <time.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace quillbay::bench {

// What quillbay-bench-log can do. Each returns the program's exit status; each throws std::runtime_error when
// a line is missing.

/// Prints `count` lines of the pairing daemon to standard output, as fast as they are read.
int printLines(int count);
/// Follows such a child with the system's watcher.
int watchFollower(int count);
/// Follows it in an active bridge.
int followInBridge(int count);
/// Reads it and counts the line feeds.
int readBare(int count);
/// Writes `count` diagnostic lines of about `length` bytes through the log store.
int writeLines(int count, int length);
/// Opens, appends and closes a file for each line.
int writeBare(int count, int length);

/// The command that prints the lines.
std::string ownProgram();

/// In the pairing daemon's words, line feed included. Every thousandth line of `printLines` announces a port
/// of its own, from `firstOwnPort` on; the others one of a bridge's range, `rangePort`.
std::string followerLine(int port);
inline constexpr int rangePort = 55000;
inline constexpr int firstOwnPort = 60000;
inline constexpr int linesPerOwnPort = 1000;

/// Seconds since it was made: on the clock, and of the processor for the thread that made it.
class Stopwatch {
 public:
    [[nodiscard]] double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }
    [[nodiscard]] double threadSeconds() const { return threadTime() - threadStart_; }

 private:
    static double threadTime() {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    }
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    double threadStart_ = threadTime();
};

/// Lines per second, microseconds of the main thread for each, and the longest turn of the main queue in
/// milliseconds.
inline void report(int lines, double seconds, double mainSeconds = 0, double longestTurnSeconds = 0) {
    std::printf("%f %f %f\n", lines / seconds, 1e6 * mainSeconds / lines, 1e3 * longestTurnSeconds);
}

}  // namespace quillbay::bench
