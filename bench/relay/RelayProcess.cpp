// The relays under test, in a process of their own so that what they use can be told from what the benchmark
// uses.
//
//     quillbay-bench-relay serve TARGET              one TCP relay on a port of the system's choice
//     quillbay-bench-relay range TARGET FIRST LAST   a TCP and a UDP relay on each port
//     quillbay-bench-relay empty                     the same program without any relay
//     quillbay-bench-relay forward TARGET            the least that can forward to it, on a port of the
//     system's
//                                                    choice
//     quillbay-bench-relay open FIRST LAST           opens the range, moves it to another address and stops
//     it,
//                                                    and prints the milliseconds of each and how many sockets
//                                                    there were
//     quillbay-bench-relay bare FIRST LAST           the same with nothing but the system calls
//
// The first four print "port N" when they are ready and run until standard input ends.
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bridge/TCPRelay.h"
#include "bridge/UDPRelay.h"
#include "platform/DescriptorLimit.h"
#include "platform/DescriptorTable.h"
#include "platform/NetworkThreads.h"
#include "platform/Sockets.h"
#include "relay/BareForwarder.h"

namespace {

using namespace quillbay;
using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

struct Range {
    std::vector<std::unique_ptr<TCPRelay>> tcp;
    std::vector<std::unique_ptr<UDPRelay>> udp;

    void open(NetworkThreads& network, std::uint16_t target, int first, int last,
              const std::string& address = "127.0.0.1") {
        const auto count = static_cast<std::size_t>(last) - static_cast<std::size_t>(first) + 1;
        tcp.reserve(count);
        udp.reserve(count);
        for (int number = first; number <= last; ++number) {
            const auto port = static_cast<std::uint16_t>(number);
            tcp.push_back(std::make_unique<TCPRelay>(network, address, port, "127.0.0.1", target));
            tcp.back()->start();
            udp.push_back(std::make_unique<UDPRelay>(network, address, port, "127.0.0.1", target));
            udp.back()->start();
        }
        network.drain();
    }

    void stop() {
        for (const auto& relay : tcp)
            relay->stop();
        for (const auto& relay : udp)
            relay->stop();
    }

    [[nodiscard]] std::size_t opened() const {
        std::size_t count = 0;
        for (const auto& relay : tcp)
            count += relay->boundPort() != 0 ? 1U : 0U;
        for (const auto& relay : udp)
            count += relay->boundPort() != 0 ? 1U : 0U;
        return count;
    }
};

void waitForEndOfInput() {
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
}

void announce(int port) {
    std::printf("port %d\n", port);
    std::fflush(stdout);
    waitForEndOfInput();
}

int serve(std::uint16_t target) {
    NetworkThreads network;
    TCPRelay relay(network, "127.0.0.1", 0, "127.0.0.1", target);
    relay.startBlocking(std::chrono::seconds(2));
    announce(relay.boundPort());
    return 0;
}

int serveRange(std::uint16_t target, int first, int last) {
    NetworkThreads network;
    Range range;
    range.open(network, target, first, last);
    if (range.opened() != 2 * static_cast<std::size_t>(last - first + 1)) return 1;
    announce(first);
    return 0;
}

int serveNothing() {
    NetworkThreads network;
    network.drain();
    announce(0);
    return 0;
}

void printTimes(double open, double reopen, double stop, std::size_t opened) {
    std::printf("%f %f %f %zu\n", open, reopen, stop, opened);
}

int openAndStop(int first, int last) {
    NetworkThreads network;
    network.drain();
    auto range = std::make_unique<Range>();
    const auto start = Clock::now();
    range->open(network, 9, first, last);
    const double open = millisecondsSince(start);
    // As a bridge does when the address has changed: all of the old ones stop, and new ones take their ports.
    const auto move = Clock::now();
    range->stop();
    range = std::make_unique<Range>();
    range->open(network, 9, first, last, "127.0.0.5");
    const double reopen = millisecondsSince(move);
    const std::size_t opened = range->opened();
    const auto end = Clock::now();
    range->stop();
    network.drain();
    printTimes(open, reopen, millisecondsSince(end), opened);
    return 0;
}

std::vector<UniqueDescriptor> openBare(int poller, const std::string& address, int first, int last) {
    std::vector<UniqueDescriptor> sockets;
    sockets.reserve(2 * static_cast<std::size_t>(last - first + 1));
    for (int number = first; number <= last; ++number) {
        const auto port = static_cast<std::uint16_t>(number);
        sockets.push_back(listenTCP(address, port));
        sockets.push_back(bindUDP(address, port));
        for (std::size_t i = sockets.size() - 2; i < sockets.size(); ++i) {
            epoll_event event{};
            event.events = EPOLLIN | EPOLLET;
            ::epoll_ctl(poller, EPOLL_CTL_ADD, sockets[i].get(), &event);
        }
    }
    return sockets;
}

int bareCalls(int first, int last) {
    const UniqueDescriptor poller(::epoll_create1(EPOLL_CLOEXEC));
    const auto start = Clock::now();
    std::vector<UniqueDescriptor> sockets = openBare(poller.get(), "127.0.0.1", first, last);
    const double open = millisecondsSince(start);
    const auto move = Clock::now();
    sockets.clear();
    sockets = openBare(poller.get(), "127.0.0.5", first, last);
    const double reopen = millisecondsSince(move);
    const std::size_t opened = sockets.size();
    const auto end = Clock::now();
    sockets.clear();
    printTimes(open, reopen, millisecondsSince(end), opened);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    raiseDescriptorLimit();
    reserveDescriptors(8192);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto number = [&](std::size_t i) { return std::stoi(arguments.at(i)); };
    const auto port = [&](std::size_t i) { return static_cast<std::uint16_t>(number(i)); };
    try {
        if (arguments.at(0) == "serve") return serve(port(1));
        if (arguments.at(0) == "range") return serveRange(port(1), number(2), number(3));
        if (arguments.at(0) == "empty") return serveNothing();
        if (arguments.at(0) == "forward") {
            bench::forwardBare(port(1), announce);
            return 0;
        }
        if (arguments.at(0) == "open") return openAndStop(number(1), number(2));
        if (arguments.at(0) == "bare") return bareCalls(number(1), number(2));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-bench-relay: %s\n", error.what());
    }
    return 2;
}
