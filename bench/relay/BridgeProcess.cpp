// A bridge with the whole tunnel range, whose main queue is watched: how long the longest of its turns keeps
// everything else that the program does there waiting.
//
//     quillbay-bench-bridge FIRST LAST    prints the milliseconds of the longest turn of a start, of stopping
//     what runs
//                                         when the address has changed, and of the start that follows; and
//                                         the relays
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bridge/ProxyBridge.h"
#include "fakes/FakePhone.h"
#include "fakes/TestHost.h"
#include "platform/DescriptorLimit.h"
#include "platform/DescriptorTable.h"

namespace {

using namespace quillbay;
using Clock = std::chrono::steady_clock;

double millisecondsOf(const auto& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Runs the main queue, turn by turn, until the bridge is active; returns the longest turn.
double longestTurnUntilActive(fakes::TestHost& world, const ProxyBridge& bridge) {
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    double longest = 0;
    while (bridge.state().kind != ProxyBridgeState::Kind::active) {
        if (bridge.state().kind == ProxyBridgeState::Kind::error)
            throw std::runtime_error(bridge.state().message);
        if (Clock::now() > deadline) throw std::runtime_error("the bridge did not start");
        // Waiting for a turn is not part of it: what is polled for is there or not.
        longest = std::max(longest, millisecondsOf([&] { world.mainQueue.context().poll_one(); }));
    }
    return longest;
}

int watch(std::uint16_t first, std::uint16_t last) {
    fakes::TestHost world;
    fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"unavailable"});
    DeviceProfile profile = DeviceProfile::draft("Phone");
    profile.bonjourName = "Instance";
    profile.bonjourHost = "iphone.local";
    profile.providerIP = world.phoneIP;
    profile.remotePairingPort = phone.port();
    profile.tunnelPortRangeStart = first;
    profile.tunnelPortRangeEnd = last;
    profile.txtRecord = {{"ver", "24"}};
    const auto bridge = ProxyBridge::make(
        world.host, profile, [&world] { return world.address(); },
        [](const std::string&, std::chrono::milliseconds, const StopToken&) { return false; });
    std::size_t relays = 0;
    bridge->onLog = [&relays](const std::string& line) {
        const auto verified = line.find("verified, ");
        if (verified != std::string::npos) relays = 2 * std::stoul(line.substr(verified + 10));
    };
    bridge->start(false);
    const double start = longestTurnUntilActive(world, *bridge);
    world.setAddress(fakes::TestHost::randomLoopback());
    const double stop = millisecondsOf([&] { bridge->start(false); });
    const double again = longestTurnUntilActive(world, *bridge);
    std::printf("%f %f %f %zu\n", start, stop, again, relays);
    bridge->stop();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    raiseDescriptorLimit();
    reserveDescriptors(8192);
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const auto port = [&](std::size_t i) {
            return static_cast<std::uint16_t>(std::stoi(arguments.at(i)));
        };
        return watch(port(0), port(1));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay-bench-bridge: %s\n", error.what());
        return 2;
    }
}
