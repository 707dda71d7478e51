#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "relay/RelayMeasurements.h"
#include "relay/Wire.h"

namespace quillbay::bench {

namespace {

constexpr int socketsOfTheRange = 2 * (lastPort - firstPort + 1);

/// What a program prints that is asked for the whole range: some figures, and how many sockets there were.
std::vector<double> figures(const char* program, const std::vector<std::string>& how) {
    std::vector<std::string> command{program};
    command.insert(command.end(), how.begin(), how.end());
    command.push_back(std::to_string(firstPort));
    command.push_back(std::to_string(lastPort));
    Child child(command);
    std::istringstream line(child.line());
    std::vector<double> read;
    for (double figure = 0; line >> figure;)
        read.push_back(figure);
    constexpr std::size_t expected = 4;
    if (read.size() != expected || read.back() < socketsOfTheRange)
        throw std::runtime_error("not every port of the range could be opened");
    return read;
}

std::vector<Row> range(int runs) {
    const Wanted wanted{Wanted::Direction::atMost, 1.5, {"bare"}};
    std::vector<Row> rows{
        {"open 3001 TCP + 3001 UDP", "ms", {}, wanted},
        {"move them to another address", "ms", {}, wanted},
        {"stop them", "ms", {}, wanted},
    };
    for (Row& row : rows)
        row.limit = "bare: the same system calls on one thread, and nothing else";
    for (int i = 0; i < runs; ++i) {
        for (const auto& [who, how] : {std::pair{"relay", "open"}, std::pair{"bare", "bare"}}) {
            const std::vector<double> took = figures(QUILLBAY_BENCH_RELAY, {how});
            for (std::size_t row = 0; row < rows.size(); ++row)
                rows[row].values[who].push_back(took[row]);
        }
    }
    return rows;
}

/// On the real way from a start to active.
std::vector<Row> mainQueue(int runs) {
    // A frame of a display that shows sixty in a second.
    const Wanted aFrame{Wanted::Direction::atMost, 16.7, {}};
    std::vector<Row> rows{
        {"main queue held, start", "ms/500", {}, aFrame},
        {"main queue held, address changed", "ms/500", {}, aFrame},
        {"main queue held, start after that", "ms/500", {}, aFrame},
    };
    for (int i = 0; i < runs; ++i) {
        const std::vector<double> took = figures(QUILLBAY_BENCH_BRIDGE, {});
        for (std::size_t row = 0; row < rows.size(); ++row)
            rows[row].values["relay"].push_back(took[row] * 500 / took.back());
    }
    return rows;
}

std::vector<Row> rangeIdle(int runs) {
    const Target target;
    Row memory{"memory of the idle range", "MiB", {}, Wanted{Wanted::Direction::atMost, 8, {}}};
    memory.limit = "6,002 objects that each watch a socket; over the same program without relays";
    Row wakeUps{"wake-ups in 60 idle seconds", "count", {}, Wanted{Wanted::Direction::atMost, 0, {}}};
    Child empty({QUILLBAY_BENCH_RELAY, "empty"});
    static_cast<void>(empty.line());
    for (int i = 0; i < runs; ++i) {
        const Forwarder open = relay(target.port(), Listens::onTheFullRange);
        memory.values["relay"].push_back((open.child->memoryKiB() - empty.memoryKiB()) / 1024);
        if (i + 1 < runs) continue;
        // Once is enough: a timer would be seen in the first minute.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const long before = open.child->voluntarySwitches();
        std::this_thread::sleep_for(std::chrono::seconds(60));
        wakeUps.values["relay"].push_back(static_cast<double>(open.child->voluntarySwitches() - before));
    }
    return {memory, wakeUps};
}

}  // namespace

std::vector<Measurement> rangeMeasurements() {
    return {{"range", range}, {"main-queue", mainQueue}, {"range-idle", rangeIdle}};
}

}  // namespace quillbay::bench
