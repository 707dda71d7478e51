// The file of diagnostic lines: what the log store writes, and the bare system calls.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "core/AppLogStore.h"
#include "fakes/TestHost.h"
#include "log/LogProcess.h"
#include "log/MainTurns.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::bench {

namespace {

constexpr int timestampLength = 25;  // with the blanks that follow it

std::string text(int number, int length) {
    return fmt::format("{:06} {}", number, std::string(static_cast<std::size_t>(length), 'x'));
}

/// Every line from the first one that the file has whole to the last one, each in its place. The file may
/// have been cut back, which leaves its newest mebibyte at least.
void checkFile(const std::string& path, int count, int length) {
    std::ifstream file(path);
    std::string line;
    int next = 0;
    std::size_t bytes = 0;
    while (std::getline(file, line)) {
        bytes += line.size() + 1;
        if (next == 0) {
            const bool whole = line.size() == timestampLength + text(1, length).size();
            if (!whole) continue;
            next = std::stoi(line.substr(timestampLength));
        }
        if (line.substr(timestampLength) != text(next, length))
            throw std::runtime_error("not in its place: " + line);
        ++next;
    }
    const bool fromTheFirst =
        bytes == static_cast<std::size_t>(count) * (timestampLength + text(1, length).size() + 1);
    if (next != count + 1 || (!fromTheFirst && bytes < 1'048'576))
        throw std::runtime_error("lines are missing in the file");
}

}  // namespace

int writeLines(int count, int length) {
    fakes::TestHost world;
    const SystemClock clock;
    AppLogStore logs(world.host.files, clock);
    // Most lines come from bridges, which post each of them to the main queue.
    int recorded = 0;
    const Stopwatch time;
    std::thread source([&] {
        for (int number = 1; number <= count; ++number)
            world.mainQueue.post([&logs, &recorded, line = text(number, length)] {
                logs.diagnostic(line);
                ++recorded;
            });
    });
    MainTurns turns(world.mainQueue.context());
    turns.runUntil([&] { return recorded == count; });
    const double mainSeconds = time.threadSeconds();
    source.join();
    if (!logs.flush(std::chrono::seconds(60))) throw std::runtime_error("the disk does not keep up");
    report(count, time.seconds(), mainSeconds, turns.longestSeconds());
    checkFile(logs.fileURL(), count, length);
    return 0;
}

int writeBare(int count, int length) {
    const fakes::TemporaryFolder folder;
    const std::string path = folder.path() / "bare.log";
    const std::string stamp(timestampLength, '0');
    const Stopwatch time;
    for (int number = 1; number <= count; ++number) {
        const std::string line = stamp + text(number, length) + "\n";
        const UniqueDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        if (::lseek(file.get(), 0, SEEK_END) < 0 ||
            ::write(file.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
            ::lseek(file.get(), 0, SEEK_CUR) < 0)
            throw std::runtime_error("cannot write " + path);
    }
    report(count, time.seconds());
    return 0;
}

}  // namespace quillbay::bench
