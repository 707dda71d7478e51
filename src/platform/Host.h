#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/BackgroundWork.h"
#include "platform/Clock.h"
#include "platform/DesktopServices.h"
#include "platform/FileLocations.h"
#include "platform/HostTools.h"
#include "platform/MainQueue.h"
#include "platform/NetworkInterfaces.h"
#include "platform/NetworkThreads.h"
#include "platform/RandomSource.h"

namespace quillbay {

/// Everything outside that the system touches: queues, time, randomness, files, tools and the local address.
/// The program makes one, which outlives all that is built on it; tests replace any member.
struct Host {
    MainQueue& mainQueue;
    NetworkThreads& network;
    BackgroundWork& background;
    Clock& clock;
    RandomSource& random;
    FileLocations files;
    HostTools tools;
    std::function<std::string()> interfaceName = localInterfaceName;
    std::function<std::optional<std::string>(const std::string& interface)> ipv4Address = currentIPv4Address;
    /// Nothing where there is no desktop to reach.
    DesktopServices* desktop = nullptr;
};

}  // namespace quillbay
