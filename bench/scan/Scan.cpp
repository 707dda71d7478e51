#include "scan/Scan.h"

#include <fmt/format.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "suite/Child.h"

namespace quillbay::bench {

namespace {

constexpr int firstScanned = 49152;
constexpr int lastScanned = 65535;
constexpr int portCount = lastScanned - firstScanned + 1;

double secondsOf(const std::vector<std::string>& command, const std::string& expected) {
    const auto start = std::chrono::steady_clock::now();
    Child child(command);
    const std::string output = child.rest();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (output.find(expected) == std::string::npos)
        throw std::runtime_error(command.front() + " did not find every port closed");
    return took.count();
}

/// From the start of the process to the end of its output, for each of them.
double measure(const std::string& who) {
    const std::string first = std::to_string(firstScanned);
    const std::string last = std::to_string(lastScanned);
    if (who == "nmap") {
        // Connections as any user may make them, no names, no look whether the host is up, and the ports in
        // their order: the same work.
        return secondsOf({"nmap", "-sT", "-Pn", "-n", "-r", "--unprivileged", "--min-parallelism", "96",
                          "--max-parallelism", "96", "-oG", "-", "-p" + first + "-" + last, "127.0.0.1"},
                         fmt::format("Ignored State: closed ({})", portCount));
    }
    return secondsOf({QUILLBAY_BENCH_SCAN, who == "scan" ? "ours" : who, "127.0.0.1", first, last},
                     fmt::format(" {}", portCount));
}

std::vector<Row> local(int runs) {
    Row row{"scan of 16384 closed ports, local", "s", {}, Wanted{Wanted::Direction::atMost, 1.0, {"nmap"}}};
    row.own = "scan";
    row.limit = "the same system calls in a bare loop, one thread";
    // Once for each, unmeasured: programs are then in memory.
    for (const char* who : {"scan", "nmap", "bare"})
        static_cast<void>(measure(who));
    for (int i = 0; i < runs; ++i)
        for (const char* who : {"scan", "nmap", "bare"})
            row.values[who].push_back(measure(who));
    return {row};
}

}  // namespace

std::vector<Measurement> scanMeasurements() {
    return {{"scan-local", local}};
}

}  // namespace quillbay::bench
