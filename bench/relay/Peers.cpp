#include "relay/Peers.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "platform/Sockets.h"

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

std::uint16_t freePort(const std::string& address) {
    const UniqueDescriptor bound = listenTCP(address, 0);
    return boundPort(bound.get());
}

bool accepts(const std::string& address, std::uint16_t port) {
    const UniqueDescriptor probe(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in to = ipv4Endpoint(address, port);
    return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
}

}  // namespace

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

double Child::processorSeconds() const {
    double nanoseconds = 0;
    for (const auto& task : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", pid_))) {
        std::ifstream file(task.path() / "schedstat");
        double used = 0;
        file >> used;
        nanoseconds += used;
    }
    return nanoseconds / 1e9;
}

long Child::voluntarySwitches() const {
    long sum = 0;
    for (const auto& task : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", pid_))) {
        std::ifstream file(task.path() / "status");
        std::string word;
        long count = 0;
        while (file >> word) {
            if (word == "voluntary_ctxt_switches:" && file >> count) sum += count;
        }
    }
    return sum;
}

Forwarder direct(std::uint16_t target) {
    return {"127.0.0.1", target, nullptr};
}

Forwarder relay(std::uint16_t target, Listens listens) {
    std::vector<std::string> command{QUILLBAY_BENCH_RELAY, "serve", std::to_string(target)};
    if (listens == Listens::onTheFullRange) {
        command[1] = "range";
        command.push_back(std::to_string(firstPort));
        command.push_back(std::to_string(lastPort));
    }
    Forwarder made{"127.0.0.1", 0, std::make_unique<Child>(command)};
    const std::string line = made.child->line();
    if (!line.starts_with("port ")) throw std::runtime_error("the relay did not start");
    made.port = static_cast<std::uint16_t>(std::stoi(line.substr(5)));
    return made;
}

Forwarder haproxy(std::uint16_t target, Listens listens) {
    // Another loopback address: its range and the relay's do not meet.
    const std::string address = "127.0.0.2";
    const std::uint16_t port =
        listens == Listens::onTheFullRange ? static_cast<std::uint16_t>(firstPort) : freePort(address);
    const std::string bind = listens == Listens::onTheFullRange
                                 ? fmt::format("{}:{}-{}", address, firstPort, lastPort)
                                 : fmt::format("{}:{}", address, port);
    const auto file =
        std::filesystem::temp_directory_path() / fmt::format("quillbay-bench-{}.cfg", ::getpid());
    std::ofstream(file) << fmt::format(
        "global\n  nbthread {}\n  maxconn 2000\ndefaults\n  mode tcp\n  option splice-auto\n  timeout "
        "connect 5s\n"
        "  timeout client 1h\n  timeout server 1h\nlisten relay\n  bind {}\n  server target 127.0.0.1:{}\n",
        std::max(1U, std::thread::hardware_concurrency()), bind, target);
    Forwarder made{address, port,
                   std::make_unique<Child>(std::vector<std::string>{"haproxy", "-db", "-q", "-f", file})};
    for (int tries = 0; tries < 500 && !accepts(address, port); ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::filesystem::remove(file);
    return made;
}

}  // namespace quillbay::bench
