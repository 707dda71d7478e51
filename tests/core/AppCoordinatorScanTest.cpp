#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"

namespace quillbay {
namespace {

using fakes::FakePhone;
using Manner = FakePhone::Manner;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;

// All ports of the dynamic range.
constexpr std::size_t allPorts = 16'384;

class AppCoordinatorScan : public CoordinatorTest {
 protected:
    /// What one scan told.
    struct Told {
        std::vector<std::pair<std::size_t, std::size_t>> progress;
        std::vector<RemotePairingScanReport> reports;
        int cancelled = 0;

        [[nodiscard]] bool over() const { return !reports.empty() || cancelled > 0; }
    };

    static AppCoordinator::ScanObserver observer(Told& told) {
        return {.onProgress = [&told](std::size_t probed,
                                      std::size_t total) { told.progress.emplace_back(probed, total); },
                .onEnd = [&told](const RemotePairingScanReport& report) { told.reports.push_back(report); },
                .onCancelled = [&told] { ++told.cancelled; }};
    }

    bool untilOver(const Told& told) {
        return world.until([&] { return told.over(); }, std::chrono::seconds(60));
    }
    bool untilBegun(const Told& told) {
        return world.until([&] { return !told.progress.empty(); });
    }
    bool untilOn(const DeviceProfile& profile) {
        return world.until([&] { return coordinator->status(profile.id()).kind == BridgeStatus::Kind::on; });
    }

    /// The profile is stored, its bridge is on, and a scan of it has begun: on a phone that answers on no
    /// port.
    void beginScanOfRunningBridge(Told& told) {
        phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
        mine = profile("iphone", phone->port());
        make();
        coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
        coordinator->start(mine);
        ASSERT_TRUE(untilOn(mine));
        phone.reset();
        coordinator->diagnose(mine, observer(told));
        ASSERT_TRUE(untilBegun(told));
        ASSERT_FALSE(told.over());
    }

    /// The scan was cancelled, which was told once, and the log says nothing about its result.
    void expectCancelled(const Told& told) {
        ASSERT_TRUE(untilOver(told));
        ASSERT_TRUE(untilQuiet());
        EXPECT_EQ(told.cancelled, 1);
        EXPECT_TRUE(told.reports.empty());
        if (!coordinator) return;
        for (const std::string& line : coordinator->logs().userLines())
            EXPECT_FALSE(line.starts_with("Port ping")) << line;
    }

    DeviceProfile mine;
    std::unique_ptr<FakePhone> phone;
};

TEST_F(AppCoordinatorScan, finds_the_port_and_leaves_the_profile_alone) {
    phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
    mine = profile("iphone", static_cast<std::uint16_t>(phone->port() - 1));
    make();
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
    const std::size_t before = lines().size();
    Told told;
    coordinator->diagnose(mine, observer(told));
    EXPECT_FALSE(told.over());
    ASSERT_TRUE(untilOver(told));
    ASSERT_TRUE(untilQuiet());
    ASSERT_EQ(told.reports.size(), 1U);
    EXPECT_EQ(told.reports[0].port, phone->port());
    EXPECT_EQ(told.cancelled, 0);
    const std::vector<std::string> all = lines();
    EXPECT_THAT(std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
                ElementsAre("iphone: user-triggered port scan on " + world.phoneIP,
                            "iphone: responded on RemotePairing port " + std::to_string(phone->port()),
                            "USER  Port ping succeeded."));
    EXPECT_EQ(coordinator->profiles().at(0), mine);
    EXPECT_THAT(coordinator->statusByProfileID(), IsEmpty()) << "no bridge was made of it";
}

TEST_F(AppCoordinatorScan, names_the_open_ports_when_none_speaks_the_protocol) {
    const FakePhone first(world.phoneIP, Manner::silent);
    const FakePhone second(world.phoneIP, Manner::silent);
    mine = profile("iphone", first.port());
    mine.providerID = "netbird";
    make();
    Told told;
    coordinator->diagnose(mine, observer(told));
    ASSERT_TRUE(untilOver(told));
    ASSERT_EQ(told.reports.size(), 1U);
    ASSERT_EQ(told.reports[0].openButSilent.size(), 2U);
    const std::string ports = std::to_string(told.reports[0].openButSilent[0]) + ", " +
                              std::to_string(told.reports[0].openButSilent[1]);
    EXPECT_THAT(lines(),
                ElementsAre("iphone: user-triggered port scan on " + world.phoneIP,
                            "iphone: No RemotePairing service. The Netbird path is healthy (open ports: " +
                                ports + ") but remotepairingd isn't listening on the Netbird interface.",
                            "USER  Port ping failed."));
}

TEST_F(AppCoordinatorScan, says_so_when_nothing_answers_and_tells_its_progress) {
    mine = profile("iphone", 49152);
    make();
    Told told;
    coordinator->diagnose(mine, observer(told));
    ASSERT_TRUE(untilOver(told));
    EXPECT_THAT(
        lines(),
        ElementsAre("iphone: user-triggered port scan on " + world.phoneIP,
                    "iphone: none of the device's ports responded — is Tailscale connected on the iPhone?",
                    "USER  Port ping failed."));
    // Time stands still, so there is one telling for all of it, and the one at the end.
    ASSERT_EQ(told.progress.size(), 2U);
    EXPECT_THAT(told.progress[0].first, AllOf(Ge(1U), Le(allPorts)));
    EXPECT_EQ(told.progress[0].second, allPorts);
    EXPECT_EQ(told.progress[1], std::pair(allPorts, allPorts));
}

TEST_F(AppCoordinatorScan, needs_no_observer) {
    phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
    make();
    coordinator->diagnose(profile("iphone", phone->port()));
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(lines().back(), "USER  Port ping succeeded.");
    coordinator->diagnose(profile("iphone", phone->port()));
    coordinator->cancelDiagnose(mine.id());
    coordinator->cancelDiagnose(profile("iphone", 0).id());
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(coordinator->logs().userLines().size(), 1U);
}

TEST_F(AppCoordinatorScan, a_running_bridge_scans_and_goes_on_undisturbed) {
    phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
    mine = profile("iphone", phone->port());
    make();
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
    coordinator->start(mine);
    ASSERT_TRUE(untilOn(mine));
    world.settle();
    int statusChanges = 0;
    const Subscription counting =
        coordinator->statusChanged.add([&](const std::string&, const BridgeStatus&) { ++statusChanges; });
    Told told;
    coordinator->diagnose(mine, observer(told));
    ASSERT_TRUE(untilOver(told));
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(told.reports.at(0).port, phone->port());
    EXPECT_EQ(statusChanges, 0);
    EXPECT_EQ(coordinator->status(mine.id()), BridgeStatus::on());
    EXPECT_EQ(world.tools.registrations().size(), 1U);
}

TEST_F(AppCoordinatorScan, ends_at_once_when_it_is_cancelled) {
    mine = profile("iphone", 49152);
    make();
    Told told;
    AppCoordinator::ScanObserver cancelling = observer(told);
    cancelling.onProgress = [&](std::size_t probed, std::size_t total) {
        told.progress.emplace_back(probed, total);
        coordinator->cancelDiagnose(mine.id());
        EXPECT_EQ(told.cancelled, 0) << "within the call";
    };
    coordinator->diagnose(mine, cancelling);
    expectCancelled(told);
    EXPECT_EQ(told.progress.size(), 1U) << "told after its end";
    coordinator->cancelDiagnose(mine.id());
    world.settle();
    EXPECT_EQ(told.cancelled, 1);
}

TEST_F(AppCoordinatorScan, a_second_scan_takes_the_place_of_the_first) {
    mine = profile("iphone", 49152);
    make();
    Told first;
    Told second;
    coordinator->diagnose(mine, observer(first));
    ASSERT_TRUE(untilBegun(first));
    phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
    coordinator->diagnose(mine, observer(second));
    ASSERT_TRUE(untilOver(second));
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(first.cancelled, 1);
    EXPECT_TRUE(first.reports.empty());
    EXPECT_EQ(second.cancelled, 0);
    ASSERT_EQ(second.reports.size(), 1U);
    EXPECT_EQ(second.reports[0].port, phone->port());
}

TEST_F(AppCoordinatorScan, two_profiles_are_scanned_at_once) {
    phone = std::make_unique<FakePhone>(world.phoneIP, Manner::answers);
    make();
    Told first;
    Told second;
    coordinator->diagnose(profile("a", phone->port()), observer(first));
    coordinator->diagnose(profile("b", phone->port()), observer(second));
    ASSERT_TRUE(untilOver(first));
    ASSERT_TRUE(untilOver(second));
    EXPECT_EQ(first.reports.size(), 1U);
    EXPECT_EQ(second.reports.size(), 1U);
}

TEST_F(AppCoordinatorScan, ends_with_a_bridge_that_is_stopped) {
    Told told;
    beginScanOfRunningBridge(told);
    coordinator->stop(mine);
    expectCancelled(told);
}

TEST_F(AppCoordinatorScan, ends_with_a_bridge_that_is_started_again) {
    Told told;
    beginScanOfRunningBridge(told);
    coordinator->start(mine);
    expectCancelled(told);
}

TEST_F(AppCoordinatorScan, ends_with_a_profile_that_is_deleted) {
    Told told;
    beginScanOfRunningBridge(told);
    coordinator->deleteProfile(mine);
    expectCancelled(told);
}

TEST_F(AppCoordinatorScan, ends_with_a_deleted_profile_that_had_no_bridge) {
    mine = profile("iphone", 49152);
    make();
    coordinator->saveProfile(mine, AppCoordinator::SaveAnnouncement::silent);
    Told told;
    coordinator->diagnose(mine, observer(told));
    ASSERT_TRUE(untilBegun(told));
    coordinator->deleteProfile(mine);
    expectCancelled(told);
}

TEST_F(AppCoordinatorScan, ends_when_a_new_address_restarts_its_bridge) {
    Told told;
    beginScanOfRunningBridge(told);
    coordinator->handleAddressChange(world.macIP);
    expectCancelled(told);
}

TEST_F(AppCoordinatorScan, tells_nobody_after_the_coordinator_is_gone) {
    mine = profile("iphone", 49152);
    make();
    Told told;
    coordinator->diagnose(mine, observer(told));
    ASSERT_TRUE(untilBegun(told));
    coordinator.reset();
    ASSERT_TRUE(untilQuiet());
    EXPECT_FALSE(told.over());
}

}  // namespace
}  // namespace quillbay
