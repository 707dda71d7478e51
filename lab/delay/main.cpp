// quillbay-lab-delay: a way between two hosts that takes its time.
//
//     quillbay-lab-delay MICROSECONDS NAMESPACE INTERFACE NAMESPACE INTERFACE
//
// Makes a network interface in each of the two namespaces, named by their files, and carries every packet
// from one to the other, MICROSECONDS later. Prints "ready" and runs until standard input ends, which takes
// the interfaces away. Addresses are the caller's business.
#include <poll.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "delay/DelayLine.h"
#include "delay/TunDevice.h"

namespace {

using namespace quillbay::lab;
using Clock = std::chrono::steady_clock;

// Some seconds of more than these devices can carry.
constexpr std::size_t mostPackets = 100'000;
// So that one busy direction does not make the other's packets late.
constexpr int packetsPerTurn = 64;

struct Way {
    const TunDevice& from;
    const TunDevice& to;
    DelayLine line;

    void takeIn() {
        for (int i = 0; i < packetsPerTurn; ++i) {
            auto packet = from.read();
            if (!packet) return;
            line.put(Clock::now(), std::move(*packet));
        }
    }

    void letOut() {
        while (const auto packet = line.take(Clock::now()))
            to.write(*packet);
    }
};

timespec until(Clock::time_point time) {
    const auto left = std::max(Clock::duration::zero(), time - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
}

void carry(std::chrono::microseconds delay, const TunDevice& one, const TunDevice& other) {
    std::array<Way, 2> ways{Way{one, other, {delay, mostPackets}}, Way{other, one, {delay, mostPackets}}};
    std::array<pollfd, 3> inputs{
        {{one.descriptor(), POLLIN, 0}, {other.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    while (true) {
        std::optional<Clock::time_point> next;
        for (const Way& way : ways) {
            const auto arrival = way.line.nextArrival();
            if (arrival && (!next || *arrival < *next)) next = arrival;
        }
        const timespec limit = next ? until(*next) : timespec{};
        if (::ppoll(inputs.data(), inputs.size(), next ? &limit : nullptr, nullptr) < 0) continue;
        if (inputs[2].revents != 0) return;
        for (Way& way : ways) {
            way.takeIn();
            way.letOut();
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fputs("usage: quillbay-lab-delay MICROSECONDS NAMESPACE INTERFACE NAMESPACE INTERFACE\n",
                   stderr);
        return 2;
    }
    // The system may otherwise be 50 µs late with every packet.
    ::prctl(PR_SET_TIMERSLACK, 1UL);
    try {
        const std::chrono::microseconds delay{std::stol(argv[1])};
        const TunDevice one(argv[2], argv[3]);
        const TunDevice other(argv[4], argv[5]);
        std::puts("ready");
        std::fflush(stdout);
        carry(delay, one, other);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-lab-delay: %s\n", error.what());
        return 1;
    }
    return 0;
}
