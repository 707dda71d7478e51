#include <net/if.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <variant>
#include <vector>

#include "dns-sd/CommandLine.h"
#include "dns-sd/ProxyRegistration.h"
#include "dns-sd/ZoneDump.h"

namespace quillbay::dnssd {
namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 2;

int execute(const UsageError& error) {
    if (!error.reason.empty()) std::fprintf(stderr, "dns-sd: %s\n", error.reason.c_str());
    std::fprintf(stderr, "%s\n", usageLine);
    return wrongUsage;
}

int execute(const DumpCommand& command) {
    return ZoneDump(command).run();
}

int execute(const ProxyCommand& command) {
    const unsigned index = if_nametoindex(command.interfaceName.c_str());
    if (index == 0) {
        std::fprintf(stderr, "dns-sd: there is no interface \"%s\"\n", command.interfaceName.c_str());
        return failed;
    }
    // Nobody reads what a registration prints, and it goes on without a reader.
    std::signal(SIGPIPE, SIG_IGN);
    return ProxyRegistration(command, index).run();
}

}  // namespace
}  // namespace quillbay::dnssd

int main(int argc, char** argv) {
    using namespace quillbay::dnssd;
    const CommandLine commandLine = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    try {
        return std::visit([](const auto& command) { return execute(command); }, commandLine);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dns-sd: %s\n", error.what());
        return failed;
    }
}
