// What the log costs, in a process of its own.
//
//     quillbay-bench-log print LINES          prints lines of the pairing daemon
//     quillbay-bench-log watch LINES          the watcher reads them from a child
//     quillbay-bench-log bridge LINES         an active bridge does
//     quillbay-bench-log read LINES           they are read and counted, and nothing else
//     quillbay-bench-log write LINES LENGTH   the log store writes diagnostic lines
//     quillbay-bench-log append LINES LENGTH  a file is opened, appended to and closed for each line
//
// All but the first print: lines per second, microseconds of the main thread for each line, milliseconds of
// the main queue's longest turn.
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "log/LogProcess.h"
#include "platform/DescriptorLimit.h"

namespace quillbay::bench {

std::string ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

}  // namespace quillbay::bench

int main(int argc, char** argv) {
    using namespace quillbay::bench;
    const std::map<std::string, std::function<int(int, int)>> modes{
        {"print", [](int count, int) { return printLines(count); }},
        {"watch", [](int count, int) { return watchFollower(count); }},
        {"bridge", [](int count, int) { return followInBridge(count); }},
        {"read", [](int count, int) { return readBare(count); }},
        {"write", writeLines},
        {"append", writeBare},
    };
    const auto mode = argc < 3 ? modes.end() : modes.find(argv[1]);
    if (mode == modes.end()) {
        std::fputs("usage: quillbay-bench-log print|watch|bridge|read|write|append LINES [LENGTH]\n", stderr);
        return 2;
    }
    quillbay::raiseDescriptorLimit();
    try {
        return mode->second(std::stoi(argv[2]), argc > 3 ? std::stoi(argv[3]) : 0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-bench-log: %s\n", error.what());
        return 1;
    }
}
