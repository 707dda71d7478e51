// quillbay-agent: the coordinator without a screen. It restores the bridges that were left switched on,
// prints the user lines, and runs until it is told to end; then it ends its bridges and leaves it recorded
// that they are wanted.

#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "core/AppCoordinator.h"
#include "core/Version.h"
#include "platform/AsioMainQueue.h"
#include "platform/DescriptorLimit.h"
#include "platform/DescriptorTable.h"
#include "platform/PrintedError.h"

namespace {

using namespace quillbay;

void printLine(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    // A reader of the pipe waits for each sentence, not for a full buffer.
    std::fflush(stdout);
}

int usage() {
    std::fputs("usage: quillbay-agent [--version]\n", stderr);
    return 2;
}

/// Runs the coordinator until a signal ends it. Whatever it started has ended when this returns.
void runCoordinator(AsioMainQueue& mainQueue, NetworkThreads& network) {
    boost::asio::signal_set signals(mainQueue.context(), SIGTERM, SIGINT);
    // A terminal that goes away ends the bridges, unless the program was started to outlive it (nohup).
    struct sigaction hangUp{};
    if (::sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN) signals.add(SIGHUP);
    signals.async_wait([&](const boost::system::error_code&, int) { mainQueue.stop(); });

    SystemClock clock;
    SystemRandomSource random;
    BackgroundWork background;
    const Host host{mainQueue,
                    network,
                    background,
                    clock,
                    random,
                    FileLocations::system(),
                    HostTools::system(programDirectory())};

    const std::shared_ptr<AppCoordinator> coordinator = AppCoordinator::make(host);
    coordinator->logs().onUserLine = printLine;
    mainQueue.post([&coordinator] { coordinator->restorePersistedBridges(); });
    mainQueue.run();
}

int run() {
    raiseDescriptorLimit();
    // Room for the full range of one phone: while there is a single thread it costs nothing.
    constexpr std::size_t descriptorsOfABridge = 8192;
    reserveDescriptors(descriptorsOfABridge);
    // A reader of the sentences that goes away must not take the bridges with it.
    std::signal(SIGPIPE, SIG_IGN);

    // The main queue may hold what lives on a network thread, and the threads post to the main queue: so they
    // stop before it goes, and are gone after it.
    NetworkThreads network;
    AsioMainQueue mainQueue;
    runCoordinator(mainQueue, network);
    network.stop();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "--version") {
        printLine(std::string("quillbay-agent ") + applicationVersion());
        return 0;
    }
    if (argc != 1) return usage();
    try {
        return run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-agent: %s\n", printedError(error).c_str());
        return 1;
    }
}
