// A scan in a process of its own, so that it can be measured beside other programs that scan, from start to
// end.
//
//     quillbay-bench-scan ours HOST FIRST LAST    the scan of the system
//     quillbay-bench-scan bare HOST FIRST LAST    nothing but the system calls, as many connections at a time
//
// Prints the milliseconds that the scan itself took, and how many ports were closed. HOST is an IPv4 address.
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "bridge/RemotePairingProbe.h"
#include "platform/NetworkThreads.h"
#include "platform/RandomSource.h"
#include "platform/Sockets.h"

namespace {

using namespace quillbay;

constexpr unsigned inFlight = 96;

struct Range {
    std::string host;
    int first = 0;
    int last = 0;
};

/// Counts what was probed and was neither open nor without an answer.
int scanWithTheSystem(const Range& range) {
    NetworkThreads network;
    SystemRandomSource random;
    RemotePairingProbe probe(network, random);
    int probed = 0;
    RemotePairingProbe::Scan scan;
    scan.host = range.host;
    scan.firstPort = static_cast<std::uint16_t>(range.first);
    scan.lastPort = static_cast<std::uint16_t>(range.last);
    scan.concurrency = inFlight;
    scan.wireProtocolVersion = 19;
    scan.onProgress = [&probed](std::uint16_t) { ++probed; };
    scan.shouldContinue = [] { return true; };
    const StopSource neverStopped;
    const RemotePairingScanReport report = probe.scanForControlChannel(scan, neverStopped.token());
    return probed - static_cast<int>(report.openButSilent.size()) - (report.port ? 1 : 0);
}

/// One thread, one epoll instance, sockets that are opened, connected, waited for and closed.
class BareScan {
 public:
    explicit BareScan(const Range& range) : range_(range), next_(range.first) {}

    int run() {
        for (unsigned lane = 0; lane < inFlight; ++lane)
            fill();
        std::array<epoll_event, inFlight> events{};
        while (open_ > 0) {
            const int count = ::epoll_wait(loop_.get(), events.data(), static_cast<int>(events.size()), 5000);
            if (count <= 0) throw std::runtime_error("a port did not answer");
            for (int i = 0; i < count; ++i) {
                end(events.at(static_cast<std::size_t>(i)).data.fd);
                --open_;
                fill();
            }
        }
        return closed_;
    }

 private:
    /// Goes on with ports until one has to be waited for.
    void fill() {
        while (next_ <= range_.last) {
            const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            const sockaddr_in to = ipv4Endpoint(range_.host, static_cast<std::uint16_t>(next_++));
            if (::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) {
                ::close(fd);
                continue;
            }
            if (errno == ECONNREFUSED) {
                ++closed_;
                ::close(fd);
                continue;
            }
            epoll_event wanted{};
            wanted.events = EPOLLOUT;
            wanted.data.fd = fd;
            ::epoll_ctl(loop_.get(), EPOLL_CTL_ADD, fd, &wanted);
            ++open_;
            return;
        }
    }

    void end(int fd) {
        int error = 0;
        socklen_t length = sizeof error;
        ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
        if (error == ECONNREFUSED) ++closed_;
        ::close(fd);
    }

    Range range_;
    int next_;
    int open_ = 0;
    int closed_ = 0;
    UniqueDescriptor loop_{::epoll_create1(EPOLL_CLOEXEC)};
};

}  // namespace

int main(int argc, char** argv) {
    const std::string who = argc == 5 ? argv[1] : "";
    if (who != "ours" && who != "bare") {
        std::fputs("usage: quillbay-bench-scan ours|bare HOST FIRST LAST\n", stderr);
        return 2;
    }
    try {
        const Range range{argv[2], std::stoi(argv[3]), std::stoi(argv[4])};
        const auto start = std::chrono::steady_clock::now();
        const int closed = who == "ours" ? scanWithTheSystem(range) : BareScan(range).run();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        std::printf("%.3f %d\n", took.count(), closed);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-bench-scan: %s\n", error.what());
        return 1;
    }
    return 0;
}
