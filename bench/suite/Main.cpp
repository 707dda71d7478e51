// Measures the relays beside a bare loop of the same system calls, HAProxy and the direct way, and the reader
// of zone dumps beside a bare loop over the same bytes, all in one run.
//
//     quillbay-bench [--only NAME]... [--runs N] [--json FILE]
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "platform/UniqueDescriptor.h"
#include "suite/Measurements.h"
#include "suite/Report.h"

namespace {

int usage() {
    std::fputs("usage: quillbay-bench [--only NAME]... [--runs N] [--json FILE]\nnames:", stderr);
    for (const auto& each : quillbay::bench::allMeasurements())
        std::fprintf(stderr, " %s", each.name.c_str());
    std::fputs("\n", stderr);
    return 2;
}

/// A loopback interface of this run's own: every port is free, and nobody else's traffic is measured. Where
/// the system does not allow it, the shared one must do.
void enterOwnNetwork() {
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        std::fputs("note: no network namespace to be had; ports 55000 to 58000 must be free\n", stderr);
        return;
    }
    const quillbay::UniqueDescriptor control(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq loopback{};
    loopback.ifr_name[0] = 'l';
    loopback.ifr_name[1] = 'o';
    loopback.ifr_flags = IFF_UP;
    if (::ioctl(control.get(), SIOCSIFFLAGS, &loopback) != 0) std::perror("note: lo");
    // The system's own choice of ports keeps out of the range, and of those that are scanned.
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "20000 49000\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> only;
    std::string json;
    int runs = 5;
    for (int i = 1; i < argc; i += 2) {
        const std::string option = argv[i];
        if (i + 1 == argc) return usage();
        if (option == "--only") {
            only.emplace_back(argv[i + 1]);
        } else if (option == "--runs") {
            runs = std::max(1, std::atoi(argv[i + 1]));
        } else if (option == "--json") {
            json = argv[i + 1];
        } else {
            return usage();
        }
    }
    enterOwnNetwork();
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    try {
        std::vector<quillbay::bench::Row> rows;
        for (const auto& each : quillbay::bench::allMeasurements()) {
            if (!only.empty() && std::find(only.begin(), only.end(), each.name) == only.end()) continue;
            std::fprintf(stderr, "%s …\n", each.name.c_str());
            for (auto& row : each.run(runs))
                rows.push_back(std::move(row));
        }
        if (rows.empty()) return usage();
        quillbay::bench::printTable(rows);
        quillbay::bench::printVerdicts(rows);
        if (!json.empty()) quillbay::bench::writeJSON(rows, json);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
