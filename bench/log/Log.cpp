#include "log/Log.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "suite/Child.h"

namespace quillbay::bench {

namespace {

constexpr const char* followed = "100000";
constexpr const char* written = "50000";
// As short as a line can be that is told from the others: the file then holds all of them. As long as a usual
// one: it is cut back on the way.
constexpr const char* shortLine = "1";
constexpr const char* usualLine = "80";

struct Figures {
    double linesPerSecond = 0;
    double mainMicrosecondsEach = 0;
    double longestTurnMilliseconds = 0;
};

/// Throws when a line was lost: the program then prints nothing.
Figures measure(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{QUILLBAY_BENCH_LOG};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Child child(command);
    std::istringstream line(child.rest());
    Figures result;
    if (!(line >> result.linesPerSecond >> result.mainMicrosecondsEach >> result.longestTurnMilliseconds))
        throw std::runtime_error("the log: \"" + arguments.front() + "\" failed");
    return result;
}

double secondsOfGrep() {
    const std::string command = std::string(QUILLBAY_BENCH_LOG) + " print " + followed +
                                " | LC_ALL=C grep -coE \"Got tunnel endpoint: '[^']*:[0-9]+'\"";
    const auto start = std::chrono::steady_clock::now();
    Child child({"sh", "-c", command});
    if (child.line() != followed) throw std::runtime_error("grep missed lines");
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<Row> follower(int runs) {
    Row rate{"100000 lines from the follower", "lines/s", {}};
    rate.own = "log";
    rate.limit = "a child that prints and a reader that counts line feeds, see bare";
    Row main{"each line, on the main queue", "µs", {}, Wanted{Wanted::Direction::atMost, 5, {}}};
    main.own = "log";
    Row turn{"its longest turn with them", "ms", {}};
    turn.own = "log";
    for (int i = 0; i < runs; ++i) {
        rate.values["log"].push_back(measure({"watch", followed}).linesPerSecond);
        rate.values["bare"].push_back(measure({"read", followed}).linesPerSecond);
        rate.values["grep"].push_back(std::stod(followed) / secondsOfGrep());
        const Figures bridge = measure({"bridge", followed});
        main.values["log"].push_back(bridge.mainMicrosecondsEach);
        turn.values["log"].push_back(bridge.longestTurnMilliseconds);
    }
    return {rate, main, turn};
}

std::vector<Row> diagnostics(int runs) {
    std::vector<Row> rows;
    for (const auto& [kind, length] : {std::pair{"short", shortLine}, std::pair{"usual", usualLine}}) {
        const std::string name = std::string("50000 ") + kind + " diagnostic lines";
        Row rate{name, "lines/s", {}};
        rate.own = "log";
        rate.limit = "a file opened, appended to and closed for each line, see bare";
        Row main{name + ", main queue each", "µs", {}, Wanted{Wanted::Direction::atMost, 5, {}}};
        main.own = "log";
        for (int i = 0; i < runs; ++i) {
            const Figures log = measure({"write", written, length});
            rate.values["log"].push_back(log.linesPerSecond);
            main.values["log"].push_back(log.mainMicrosecondsEach);
            rate.values["bare"].push_back(measure({"append", written, length}).linesPerSecond);
        }
        rows.push_back(rate);
        rows.push_back(main);
    }
    return rows;
}

}  // namespace

std::vector<Measurement> logMeasurements() {
    return {{"log-follower", follower}, {"log-diagnostics", diagnostics}};
}

}  // namespace quillbay::bench
