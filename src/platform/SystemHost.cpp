#include "platform/SystemHost.h"

#include <csignal>
#include <cstddef>

#include "platform/DescriptorLimit.h"
#include "platform/DescriptorTable.h"

namespace quillbay {

void prepareProcess() {
    raiseDescriptorLimit();
    // Room for the full range of one phone: while there is a single thread it costs nothing.
    constexpr std::size_t descriptorsOfABridge = 8192;
    reserveDescriptors(descriptorsOfABridge);
    // A reader of the sentences that goes away must not take the bridges with it.
    std::signal(SIGPIPE, SIG_IGN);
}

SystemHost::SystemHost(MainQueue& mainQueue, NetworkThreads& network)
    : host_{mainQueue,
            network,
            background_,
            clock_,
            random_,
            FileLocations::system(),
            HostTools::system(programDirectory())},
      desktop_(DesktopServices::system(mainQueue, background_, host_.tools)) {
    host_.desktop = desktop_.get();
}

}  // namespace quillbay
