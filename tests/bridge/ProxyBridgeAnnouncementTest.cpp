// When a bridge tells that this computer announces the phone's host, and how its user's scan is cancelled.

#include <atomic>
#include <optional>

#include "bridge/BridgeFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProxyBridgeAnnouncement : public BridgeTest {
 protected:
    // It tells of its end what lives here.
    ~ProxyBridgeAnnouncement() override { bridge.reset(); }

    /// A bridge on a phone that is away and answers, whose announcements are recorded.
    void makeAnnouncing() {
        phone = std::make_unique<fakes::FakePhone>(world.phoneIP, Manner::answers);
        phoneIsAway();
        makeBridge(profile(phone->port()));
        bridge->onProxyHostChanged = [this](const std::optional<std::string>& host) {
            EXPECT_TRUE(world.mainQueue.isCurrent());
            const bool registered = world.tools.runningRegistrations() > 0;
            EXPECT_FALSE(registered) << "the record is up before it is told, or after it is told to be gone";
            announced.push_back(host.value_or("none"));
        };
    }
    bool untilRegistered() {
        return world.until([&] { return world.tools.runningRegistrations() == 1; });
    }

    std::unique_ptr<fakes::FakePhone> phone;
    std::vector<std::string> announced;
};

TEST_F(ProxyBridgeAnnouncement, is_told_before_the_record_is_up_and_after_it_is_gone) {
    makeAnnouncing();
    bridge->start(false);
    EXPECT_THAT(announced, IsEmpty());
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilRegistered());
    EXPECT_THAT(announced, ElementsAre("iphone.local"));
    bridge->stop();
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none"));
    bridge->stop();
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none"));
}

TEST_F(ProxyBridgeAnnouncement, a_restart_withdraws_it_and_tells_it_anew) {
    makeAnnouncing();
    bridge->start(false);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilRegistered());
    bridge->start(false);
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none"));
    ASSERT_TRUE(untilActive());
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none", "iphone.local"));
}

TEST_F(ProxyBridgeAnnouncement, a_bridge_that_is_dropped_withdraws_it) {
    makeAnnouncing();
    bridge->start(false);
    ASSERT_TRUE(untilActive());
    ASSERT_TRUE(untilRegistered());
    bridge.reset();
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none"));
}

TEST_F(ProxyBridgeAnnouncement, a_record_that_cannot_be_registered_is_withdrawn) {
    world.tools.removeDNSSD();
    makeAnnouncing();
    bridge->start(false);
    ASSERT_TRUE(untilError());
    EXPECT_THAT(announced, ElementsAre("iphone.local", "none"));
}

TEST_F(ProxyBridgeAnnouncement, a_start_that_fails_before_it_tells_nothing) {
    makeAnnouncing();
    phone.reset();
    bridge->start(false);
    ASSERT_TRUE(untilError());
    bridge->stop();
    bridge.reset();
    EXPECT_THAT(announced, IsEmpty());
}

class ProxyBridgeCancelledScan : public BridgeTest {};

TEST_F(ProxyBridgeCancelledScan, ends_at_once_without_its_completion) {
    makeBridge(profile(50000));
    std::atomic<int> probed = 0;
    bool completed = false;
    bridge->discoverDevicePort([&](const RemotePairingScanReport&) { completed = true; },
                               [&](std::uint16_t) { ++probed; });
    ASSERT_TRUE(world.until([&] { return probed > 0; }));
    bridge->cancelDiscovery();
    bridge->cancelDiscovery();
    ASSERT_TRUE(untilQuiet());
    EXPECT_FALSE(completed);
    EXPECT_LT(probed, 16384);
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(ProxyBridgeCancelledScan, one_that_is_over_but_not_yet_told_is_not_told_either) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    makeBridge(profile(phone.port()));
    bool completed = false;
    bridge->discoverDevicePort([&](const RemotePairingScanReport&) { completed = true; });
    ASSERT_TRUE(untilPosted());
    bridge->cancelDiscovery();
    world.settle();
    EXPECT_FALSE(completed);
}

TEST_F(ProxyBridgeCancelledScan, leaves_a_start_that_scans_alone) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    phoneIsAway();
    makeBridge(profile(static_cast<std::uint16_t>(phone.port() - 1)));
    bridge->discoverDevicePort([](const RemotePairingScanReport&) {});
    bridge->cancelDiscovery();
    bridge->start(true);
    bridge->cancelDiscovery();
    ASSERT_TRUE(untilActive()) << bridge->state().message;
}

TEST_F(ProxyBridgeCancelledScan, the_next_scan_is_not_cancelled) {
    const fakes::FakePhone phone(world.phoneIP, Manner::answers);
    makeBridge(profile(phone.port()));
    std::optional<RemotePairingScanReport> report;
    bridge->discoverDevicePort([](const RemotePairingScanReport&) {});
    bridge->cancelDiscovery();
    bridge->discoverDevicePort([&](const RemotePairingScanReport& given) { report = given; });
    ASSERT_TRUE(world.until([&] { return report.has_value(); }));
    EXPECT_EQ(report->port, phone.port());
}

}  // namespace
}  // namespace quillbay
