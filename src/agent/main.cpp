// quillbay-agent: the coordinator without a screen. It restores the bridges that were left switched on,
// prints the user lines, and runs until it is told to end; then it ends its bridges and leaves it recorded
// that they are wanted.

#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "agent/LinePrinter.h"
#include "control/ControlServer.h"
#include "core/AppCoordinator.h"
#include "core/Version.h"
#include "platform/AsioMainQueue.h"
#include "platform/InstanceLock.h"
#include "platform/Observers.h"
#include "platform/PrintedError.h"
#include "platform/RuntimeFolder.h"
#include "platform/SystemHost.h"
#include "update/UpdateChecker.h"
#include "update/UpdateNotice.h"

namespace {

using namespace quillbay;

constexpr const char* usageText =
    "usage: quillbay-agent [--help | --version]\n"
    "\n"
    "Runs the bridges that were left switched on and prints what happens, until it is ended by SIGTERM or\n"
    "Ctrl-C. quillbayctl tells it what to do meanwhile.\n";

/// Runs the coordinator until a signal ends it. Whatever it started has ended when this returns.
void runCoordinator(AsioMainQueue& mainQueue, NetworkThreads& network) {
    boost::asio::signal_set signals(mainQueue.context(), SIGTERM, SIGINT);
    // A terminal that goes away ends the bridges, unless the program was started to outlive it (nohup).
    struct sigaction hangUp{};
    if (::sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN) signals.add(SIGHUP);
    signals.async_wait([&](const boost::system::error_code&, int) { mainQueue.stop(); });

    LinePrinter printer;
    const auto printLine = [&printer](const std::string& line) { printer.print(line); };
    const SystemHost system(mainQueue, network);
    const Host& host = system.host();

    const std::shared_ptr<AppCoordinator> coordinator = AppCoordinator::make(host);
    const Subscription printing = coordinator->logs().userLineAdded.add(printLine);
    const ControlServer control(host, *coordinator);
    mainQueue.post([&coordinator] { coordinator->restorePersistedBridges(); });

    const std::shared_ptr<UpdateChecker> updates = UpdateChecker::make(host, applicationVersion());
    const UpdateNotice noticing(updates, printLine);
    mainQueue.post([&updates] { updates->start(); });
    mainQueue.run();
}

int run() {
    // Before anything else: a coordinator's first act is to end what an earlier run has left behind, and that
    // must not be what another one is using.
    const InstanceLock onlyOne = InstanceLock::take(prepareRuntimeFolder(runtimeDirectory()));
    prepareProcess();

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
        std::printf("quillbay-agent %s\n", applicationVersion());
        return 0;
    }
    if (argc == 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
        std::fputs(usageText, stdout);
        return 0;
    }
    if (argc != 1) {
        std::fputs(usageText, stderr);
        return 2;
    }
    try {
        return run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-agent: %s\n", printedError(error).c_str());
        return 1;
    }
}
