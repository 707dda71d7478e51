#include "suite/Child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

// Declared by POSIX, but in no header.
extern char** environ;  // NOLINT(readability-redundant-declaration): some systems do declare it

namespace quillbay::bench {

namespace {

struct Pipe {
    UniqueDescriptor read;
    UniqueDescriptor write;
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
};

namespace fs = std::filesystem;

// Places in a line of /proc/PID/stat after the name of the program; see proc(5).
constexpr std::size_t parentField = 1;
constexpr std::size_t endedUserField = 13;
constexpr std::size_t endedSystemField = 14;

/// The numbers after the name and the letter of the state, which counts as 0; none when the process is gone.
std::vector<long> statistics(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    const auto name = line.rfind(") ");
    if (name == std::string::npos) return {};
    std::vector<long> fields{0};
    std::istringstream numbers(line.substr(name + 3));
    for (long number = 0; numbers >> number;)
        fields.push_back(number);
    return fields;
}

std::vector<fs::path> tasks(pid_t pid) {
    std::vector<fs::path> found;
    std::error_code gone;
    for (const auto& task : fs::directory_iterator(fmt::format("/proc/{}/task", pid), gone))
        found.push_back(task.path());
    return found;
}

/// The number after a word in a file of /proc; 0 when it is not there.
double valueIn(const fs::path& file, const std::string& name) {
    std::ifstream in(file);
    double value = 0;
    for (std::string word; in >> word;)
        if (word == name && in >> value) return value;
    return 0;
}

}  // namespace

unsigned threadsEach() {
    return std::max(1U, std::thread::hardware_concurrency());
}

Child::Child(const std::vector<std::string>& command) {
    Pipe in;
    Pipe out;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in.read.get(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out.write.get(), STDOUT_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const int failed = ::posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) throw std::runtime_error("cannot start " + command.front());
    input_ = std::move(in.write);
    output_ = std::move(out.read);
}

Child::~Child() {
    input_.reset();
    ::kill(pid_, SIGTERM);
    ::waitpid(pid_, nullptr, 0);
}

std::string Child::line() {
    std::string text;
    char byte = 0;
    while (::read(output_.get(), &byte, 1) == 1 && byte != '\n')
        text += byte;
    return text;
}

std::string Child::rest() {
    std::string text;
    std::array<char, 4096> bytes;
    for (ssize_t count = 0; (count = ::read(output_.get(), bytes.data(), bytes.size())) > 0;)
        text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
}

std::vector<pid_t> Child::family() const {
    std::vector<pid_t> found{pid_};
    for (const auto& process : fs::directory_iterator("/proc")) {
        const std::string name = process.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        const auto fields = statistics(process.path() / "stat");
        if (fields.size() > parentField && fields[parentField] == pid_) found.push_back(std::stoi(name));
    }
    return found;
}

double Child::processorSeconds() const {
    double seconds = 0;
    for (const pid_t pid : family()) {
        for (const fs::path& task : tasks(pid)) {
            std::ifstream file(task / "schedstat");
            double nanoseconds = 0;
            file >> nanoseconds;
            seconds += nanoseconds / 1e9;
        }
    }
    const auto fields = statistics(fmt::format("/proc/{}/stat", pid_));
    if (fields.size() <= endedSystemField) return seconds;
    const long ticks = fields[endedUserField] + fields[endedSystemField];
    return seconds + static_cast<double>(ticks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

long Child::voluntarySwitches() const {
    double sum = 0;
    for (const pid_t pid : family())
        for (const fs::path& task : tasks(pid))
            sum += valueIn(task / "status", "voluntary_ctxt_switches:");
    return static_cast<long>(sum);
}

double Child::memoryKiB() const {
    double sum = 0;
    for (const pid_t pid : family())
        sum += valueIn(fmt::format("/proc/{}/smaps_rollup", pid), "Pss:");
    return sum;
}

}  // namespace quillbay::bench
