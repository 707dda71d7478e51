#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bridge/ProxyBridge.h"
#include "fakes/FakePhone.h"
#include "fakes/TestHost.h"
#include "platform/Sockets.h"

namespace quillbay {

/// A bridge on a scripted host, and everything that it reports.
class BridgeTest : public ::testing::Test {
 protected:
    using Manner = fakes::FakePhone::Manner;

    /// A profile whose phone is at the test's phone address; an empty tunnel range.
    DeviceProfile profile(std::uint16_t port) {
        DeviceProfile made = DeviceProfile::draft("Phone");
        made.bonjourName = "Instance";
        made.bonjourHost = "iphone.local";
        made.providerID = "tailscale";
        made.providerIP = world.phoneIP;
        made.remotePairingPort = port;
        made.tunnelPortRangeStart = 2;
        made.tunnelPortRangeEnd = 1;
        made.txtRecord = {{"ver", "24"}};
        return made;
    }

    void makeBridge(const DeviceProfile& wanted) {
        bridge = ProxyBridge::make(
            world.host, wanted, [this] { return world.address(); },
            [this](const std::string& host, std::chrono::milliseconds timeout, const StopToken&) {
                presenceQuestions.push_back(host + " " + std::to_string(timeout.count()));
                return answersLocally;
            });
        bridge->onStateChanged = [this](const ProxyBridgeState& state) { states.push_back(state); };
        bridge->onDiscoveredPort = [this](std::uint16_t port) { discovered.push_back(port); };
        bridge->onLog = [this](const std::string& line) { log.push_back(line); };
    }

    void phoneIsAway() { world.tools.setTunnelStates("iphone.coredevice.local", {"unavailable"}); }

    bool untilState(ProxyBridgeState::Kind kind) {
        return world.until([&] { return bridge->state().kind == kind; });
    }
    bool untilActive() { return untilState(ProxyBridgeState::Kind::active); }
    bool untilError() { return untilState(ProxyBridgeState::Kind::error); }

    /// Waits until nothing runs in the background any more and all that it posted has been handled.
    bool untilQuiet() {
        const bool ended = world.until([&] { return world.background.pending() == 0; });
        world.settle();
        return ended;
    }

    /// Waits until nothing runs in the background any more, while what it posted stays unhandled.
    bool untilPosted() {
        for (int i = 0; i < 5000 && world.background.pending() != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return world.background.pending() == 0;
    }

    fakes::TestHost world;
    bool answersLocally = false;
    std::vector<std::string> presenceQuestions;
    std::vector<ProxyBridgeState> states;
    std::vector<std::uint16_t> discovered;
    std::vector<std::string> log;
    std::shared_ptr<ProxyBridge> bridge;
};

}  // namespace quillbay
