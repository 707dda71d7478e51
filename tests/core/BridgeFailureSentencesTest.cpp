#include <gtest/gtest.h>

#include "bridge/BridgeTexts.h"
#include "core/UserFacingConnectionError.h"

namespace quillbay {
namespace {

// The sentences are found by phrases in the bridge's own texts: a change of either that parts them fails
// here.

DeviceProfile phone() {
    DeviceProfile profile = DeviceProfile::draft("phone");
    profile.bonjourHost = "phone.local";
    profile.providerID = "zerotier";
    profile.providerIP = "100.64.0.7";
    return profile;
}

std::string sentenceFor(const std::string& failure) {
    return UserFacingConnectionError::message(failure, phone().providerDisplayName());
}

TEST(BridgeFailureSentences, has_one_for_a_phone_that_is_still_near) {
    EXPECT_EQ(
        sentenceFor(stillLiveMessage(phone(), "devicectl tunnelState=connected")),
        "The device is still on this Mac's local network. Move it to a different Wi‑Fi before bridging. "
        "Cellular won't work.");
}

TEST(BridgeFailureSentences, has_one_for_every_verdict_on_a_port) {
    EXPECT_EQ(sentenceFor(unreachableMessage(phone(), 49152, RemotePairingProbeResult::refused)),
              "The device's debugging port may have changed. Try Scan port.");
    EXPECT_EQ(sentenceFor(unreachableMessage(phone(), 49152, RemotePairingProbeResult::noResponse)),
              "The device isn't responding. Confirm ZeroTier is connected on the iPhone.");
    EXPECT_EQ(sentenceFor(unreachableMessage(phone(), 49152, RemotePairingProbeResult::openButSilent)),
              "Reached the device, but not on the wireless debugging port. Try Scan port.");
}

TEST(BridgeFailureSentences, has_one_for_a_scan_that_found_nothing) {
    EXPECT_EQ(sentenceFor(noServiceMessage(phone(), {})),
              "Couldn't reach the device. Confirm ZeroTier is connected on the iPhone.");
    EXPECT_EQ(sentenceFor(noServiceMessage(phone(), {50000, 50001})),
              "Wireless debugging isn't available over ZeroTier. On the iPhone, check Settings → Developer → "
              "Wireless Debugging.");
}

TEST(BridgeFailureSentences, has_one_for_a_control_channel_that_failed) {
    EXPECT_EQ(sentenceFor(criticalRelayFailureMessage("TCP", 49152, "timedOut")),
              "The connection to the device was interrupted.");
    EXPECT_EQ(sentenceFor(criticalRelayFailureMessage(
                  "UDP", 49152, "POSIXErrorCode(rawValue: 98): Address already in use")),
              "A required local port is busy. Try again, or restart Quillbay.");
}

}  // namespace
}  // namespace quillbay
