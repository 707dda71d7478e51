// Long, but one thing: the capture with a real child, from its launch to its end and its successors, on one
// fixture.

#include "discovery/BonjourCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <fstream>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

#include "fakes/ProcessResources.h"
#include "fakes/TestHost.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using fakes::waitUntil;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

const std::string type = "_remotepairing._tcp";
const std::string phoneSRV = "a._remotepairing._tcp SRV 0 0 49152 phone.local. ; Replace with unicast FQDN\n";
const std::string phoneTXT = "a._remotepairing._tcp TXT \"ver=19\"\n";
const std::string renamedSRV = "a\\032(2)._remotepairing._tcp SRV 0 0 49152 phone.local.\n";

class BonjourCaptureTest : public fakes::LeavesNothingBehind {
 protected:
    BonjourCaptureTest() {
        world.emplace();
        capture.emplace(world->host);
        capture->onServiceUpdated = [this](CapturedBonjourService service) {
            const std::lock_guard lock(mutex);
            services.push_back(std::move(service));
        };
        capture->onLog = [this](const std::string& line) {
            const std::lock_guard lock(mutex);
            lines.push_back(line);
        };
    }

    void TearDown() override {
        capture.reset();
        world.reset();
        LeavesNothingBehind::TearDown();
    }

    void start() { capture->start(type, "local"); }

    /// The tool behaves in this manner of the scripted one from now on.
    void toolBecomes(const std::string& manner, const std::string& zone = {}) {
        std::ofstream(world->folder.path() / "zone") << zone;
        world->host.tools.dnsSD = {QUILLBAY_TEST_TOOLS "/fake-dns-sd",
                                   {world->folder.path().string(), manner}};
    }

    /// The process ids of the tools that `toolBecomes` made, ended or not.
    [[nodiscard]] std::vector<pid_t> launched() const {
        std::vector<pid_t> pids;
        for (const auto& entry : std::filesystem::directory_iterator(world->folder.path())) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with("call-")) pids.push_back(std::stoi(name.substr(5)));
        }
        return pids;
    }

    std::vector<CapturedBonjourService> seen() {
        const std::lock_guard lock(mutex);
        return services;
    }
    std::vector<std::string> log() {
        const std::lock_guard lock(mutex);
        return lines;
    }
    bool untilSeen(std::size_t count) {
        return world->until([&] { return seen().size() >= count; });
    }
    bool untilLogged(std::size_t count) {
        return world->until([&] { return log().size() >= count; });
    }
    /// Until the end of a child has been noticed, and the next one waits for its time.
    bool untilItPauses() {
        return world->until([&] { return world->mainQueue.waitingTimers() == 1; });
    }
    bool untilRunning(int dumps) {
        return world->until([&] { return world->tools.runningZoneDumps() == dumps; });
    }

    std::optional<fakes::TestHost> world;
    std::optional<BonjourCapture> capture;
    std::mutex mutex;
    std::vector<CapturedBonjourService> services;
    std::vector<std::string> lines;
};

TEST_F(BonjourCaptureTest, dumps_the_zone_of_the_type_and_domain) {
    start();
    EXPECT_TRUE(untilRunning(1));
    EXPECT_THAT(world->tools.zoneDumps(), ElementsAre(ElementsAre("-Z", "_remotepairing._tcp", "local")));
    EXPECT_THAT(world->tools.registrations(), IsEmpty());
}

TEST_F(BonjourCaptureTest, reports_what_the_child_prints_with_the_time_of_it) {
    start();
    EXPECT_TRUE(untilRunning(1));
    world->clock.advance(5s);
    world->tools.appendZoneText("_remotepairing._tcp PTR a._remotepairing._tcp\n" + phoneSRV + phoneTXT);
    ASSERT_TRUE(untilSeen(1));
    const CapturedBonjourService expected{
        "a", type, "local", "phone.local", 49152, {{"ver", "19"}}, world->clock.now(), std::nullopt};
    EXPECT_THAT(seen(), ElementsAre(expected));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(BonjourCaptureTest, a_line_split_across_two_reads_is_parsed_once_when_its_newline_arrives) {
    start();
    world->tools.appendZoneText("z._remotepairing._tcp SRV 0 0 1 z.local.\n" + phoneSRV.substr(0, 30));
    ASSERT_TRUE(untilSeen(1));
    world->tools.appendZoneText(phoneSRV.substr(30));
    ASSERT_TRUE(untilSeen(2));
    world->tools.appendZoneText("y._remotepairing._tcp SRV 0 0 1 y.local.\n");
    ASSERT_TRUE(untilSeen(3));
    EXPECT_EQ(seen()[0].host, "z.local");
    EXPECT_EQ(seen()[1].host, "phone.local");
    EXPECT_EQ(seen()[2].host, "y.local");
}

TEST_F(BonjourCaptureTest, calls_back_on_its_own_queue) {
    std::thread::id queueThread;
    world->network.queueFor(0, "probe").sync([&] { queueThread = std::this_thread::get_id(); });
    std::atomic<std::thread::id> told;
    std::atomic<std::thread::id> logged;
    std::atomic<std::thread::id> asked;
    capture->onServiceUpdated = [&](const CapturedBonjourService&) { told = std::this_thread::get_id(); };
    capture->onLog = [&](const std::string&) { logged = std::this_thread::get_id(); };
    capture->activeProxyHosts = [&] {
        asked = std::this_thread::get_id();
        return std::set<std::string>();
    };
    world->tools.appendZoneText(renamedSRV + phoneSRV);
    start();
    EXPECT_TRUE(world->until([&] { return told.load() != std::thread::id(); }));
    capture->stop();
    EXPECT_EQ(told.load(), queueThread);
    EXPECT_EQ(logged.load(), queueThread);
    EXPECT_EQ(asked.load(), queueThread);
}

TEST_F(BonjourCaptureTest, leaves_out_the_proxies_of_this_computer) {
    capture->activeProxyHosts = [] { return std::set<std::string>{"phone.local"}; };
    world->tools.appendZoneText(phoneSRV + "b._remotepairing._tcp SRV 0 0 1 Phone-2.local.\n" +
                                "c._remotepairing._tcp SRV 0 0 1 near.local.\n");
    start();
    ASSERT_TRUE(untilSeen(1));
    EXPECT_EQ(seen()[0].host, "near.local");
    EXPECT_THAT(log(),
                ElementsAre("Bonjour: ignoring _remotepairing._tcp record a — host \"phone.local\" matches "
                            "this Mac's own active proxy registration for \"phone.local\" — self-loop, "
                            "not a real device.",
                            "Bonjour: ignoring _remotepairing._tcp record b — host \"Phone-2.local\" "
                            "matches this Mac's own active proxy registration for \"Phone.local\" — "
                            "self-loop, not a real device."));
}

TEST_F(BonjourCaptureTest, works_without_callbacks) {
    capture->onServiceUpdated = {};
    capture->onLog = {};
    world->tools.appendZoneText(renamedSRV + phoneSRV);
    start();
    EXPECT_TRUE(untilRunning(1));
    world->tools.killZoneDumps();
    EXPECT_TRUE(untilItPauses());
}

// Start and stop

TEST_F(BonjourCaptureTest, stop_ends_the_child_and_may_come_twice_or_first) {
    capture->stop();
    start();
    EXPECT_TRUE(untilRunning(1));
    capture->stop();
    capture->stop();
    EXPECT_TRUE(untilRunning(0));
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(world->mainQueue.waitingTimers(), 0U);
}

TEST_F(BonjourCaptureTest, stop_asks_a_child_to_end_that_never_prints) {
    toolBecomes("obey");
    start();
    ASSERT_TRUE(world->until([&] { return launched().size() == 1; }));
    capture->stop();
    EXPECT_TRUE(waitUntil([] { return !fakes::hasChildren(); }));
}

TEST_F(BonjourCaptureTest, dropping_it_ends_the_child) {
    toolBecomes("obey");
    start();
    ASSERT_TRUE(world->until([&] { return launched().size() == 1; }));
    capture.reset();
    EXPECT_TRUE(waitUntil([] { return !fakes::hasChildren(); }));
}

TEST_F(BonjourCaptureTest, a_second_start_ends_the_first_child_and_forgets_what_it_learned) {
    world->tools.appendZoneText(renamedSRV + phoneSRV + phoneTXT);
    start();
    ASSERT_TRUE(untilSeen(1) && untilLogged(1));
    world->tools.clearZoneText();
    world->tools.appendZoneText(renamedSRV + phoneSRV);
    start();
    ASSERT_TRUE(untilSeen(2) && untilLogged(2));
    EXPECT_TRUE(untilRunning(1));
    EXPECT_EQ(seen()[0].txt.size(), 1U);
    EXPECT_THAT(seen()[1].txt, IsEmpty());
    EXPECT_EQ(log()[0], log()[1]);
}

TEST_F(BonjourCaptureTest, no_callback_comes_after_stop_however_fast_the_child_prints) {
    toolBecomes("flood", phoneSRV + renamedSRV);
    for (int i = 0; i < 20; ++i) {
        std::atomic<bool> stopped = false;
        std::atomic<bool> late = false;
        std::atomic<std::size_t> calls = 0;
        capture->onServiceUpdated = [&](const CapturedBonjourService&) {
            ++calls;
            if (stopped) late = true;
        };
        start();
        EXPECT_TRUE(waitUntil([&] { return calls > 3; }));
        capture->stop();
        stopped = true;
        world->network.drain();
        EXPECT_FALSE(late);
    }
}

TEST_F(BonjourCaptureTest, stop_waits_for_a_callback_that_is_just_running) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> finished = false;
    capture->onServiceUpdated = [&](const CapturedBonjourService&) {
        entered.set_value();
        release.get_future().wait();
        finished = true;
    };
    world->tools.appendZoneText(phoneSRV);
    start();
    entered.get_future().wait();
    auto stopped = std::async(std::launch::async, [&] {
        capture->stop();
        return finished.load();
    });
    EXPECT_EQ(stopped.wait_for(50ms), std::future_status::timeout);
    release.set_value();
    EXPECT_TRUE(stopped.get());
}

TEST_F(BonjourCaptureTest, stop_does_not_wait_for_a_child_that_does_not_end) {
    toolBecomes("ignore");
    start();
    ASSERT_TRUE(world->until([&] { return launched().size() == 1; }));
    const auto began = std::chrono::steady_clock::now();
    capture->stop();
    EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
    ::kill(launched()[0], SIGKILL);
}

TEST_F(BonjourCaptureTest, many_starts_leave_nothing_behind) {
    for (int i = 0; i < 30; ++i) {
        start();
        if (i % 3 == 0) {
            EXPECT_TRUE(untilRunning(1));
        }
        if (i % 2 == 0) capture->stop();
        if (i % 5 == 0) world->settle();
    }
    capture->stop();
    EXPECT_TRUE(untilRunning(0));
}

// Children that fail

TEST_F(BonjourCaptureTest, a_child_that_cannot_be_launched_is_told_and_tried_again) {
    const HostTools::Tool tool = world->host.tools.dnsSD;
    world->host.tools.dnsSD.executable = "/nowhere/dns-sd";
    start();
    ASSERT_TRUE(untilLogged(1));
    EXPECT_THAT(log(),
                ElementsAre("Bonjour: /nowhere/dns-sd could not be launched: POSIXErrorCode(rawValue: 2): "
                            "No such file or directory; it is started again."));
    world->advance(1s);
    world->host.tools.dnsSD = tool;
    world->tools.appendZoneText(phoneSRV);
    world->advance(1999ms);
    EXPECT_THAT(seen(), IsEmpty());
    world->advance(1ms);
    EXPECT_TRUE(untilSeen(1));
    EXPECT_EQ(log().size(), 1U);
}

TEST_F(BonjourCaptureTest, a_child_that_was_killed_is_told_and_replaced_after_a_second) {
    world->tools.appendZoneText(phoneSRV + renamedSRV + "half a line");
    start();
    ASSERT_TRUE(untilSeen(1) && untilLogged(1));
    world->tools.killZoneDumps();
    ASSERT_TRUE(untilLogged(2) && untilItPauses());
    EXPECT_EQ(log()[1], "Bonjour: " + world->host.tools.dnsSD.executable +
                            " was ended by signal 9; it is started again.");
    world->advance(999ms);
    EXPECT_EQ(world->tools.zoneDumps().size(), 1U);
    world->advance(1ms);
    // The new one prints everything anew.
    EXPECT_TRUE(untilSeen(2));
    EXPECT_EQ(world->tools.zoneDumps().size(), 2U);
    EXPECT_EQ(log().size(), 2U);
}

TEST_F(BonjourCaptureTest, a_child_that_ends_again_and_again_is_started_ever_more_rarely_and_told_once) {
    toolBecomes("die");
    start();
    std::size_t launches = 1;
    for (const auto pause : {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
        ASSERT_TRUE(untilItPauses());
        world->advance(pause - 1ms);
        EXPECT_EQ(launched().size(), launches) << pause.count();
        world->advance(1ms);
        ++launches;
        ASSERT_TRUE(world->until([&] { return launched().size() == launches; })) << pause.count();
    }
    ASSERT_TRUE(untilItPauses());
    EXPECT_THAT(log(), ElementsAre("Bonjour: " QUILLBAY_TEST_TOOLS
                                   "/fake-dns-sd ended by itself with status 3; it is started again."));
}

TEST_F(BonjourCaptureTest,
       is_failing_from_the_second_child_that_ends_at_once_until_one_has_run_for_3_seconds) {
    const HostTools::Tool tool = world->host.tools.dnsSD;
    EXPECT_FALSE(capture->isFailing());
    toolBecomes("die");
    start();
    ASSERT_TRUE(untilItPauses());
    EXPECT_FALSE(capture->isFailing()) << "one may be an accident";
    world->advance(1s);
    ASSERT_TRUE(untilItPauses());
    EXPECT_TRUE(capture->isFailing());
    world->host.tools.dnsSD = tool;
    world->advance(2s);
    ASSERT_TRUE(untilRunning(1));
    EXPECT_TRUE(capture->isFailing()) << "it may end at once too";
    world->advance(2999ms);
    EXPECT_TRUE(capture->isFailing());
    world->advance(1ms);
    EXPECT_FALSE(capture->isFailing());
    world->tools.killZoneDumps();
    ASSERT_TRUE(untilItPauses());
    EXPECT_FALSE(capture->isFailing()) << "the first one again";
    capture->stop();
    EXPECT_FALSE(capture->isFailing());
}

TEST_F(BonjourCaptureTest, a_child_that_ran_for_a_minute_is_told_and_replaced_after_a_second_again) {
    start();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(untilRunning(1));
        world->advance(60s);
        world->tools.killZoneDumps();
        ASSERT_TRUE(untilItPauses());
        world->advance(1s);
    }
    EXPECT_TRUE(untilRunning(1));
    EXPECT_TRUE(untilLogged(3));
    EXPECT_EQ(log().size(), 3U);
}

TEST_F(BonjourCaptureTest, nothing_is_started_again_after_stop) {
    toolBecomes("die");
    start();
    ASSERT_TRUE(untilItPauses());
    capture->stop();
    world->advance(120s);
    EXPECT_EQ(launched().size(), 1U);
    // Nor when it ends while the stop is on its way.
    for (int i = 0; i < 10; ++i) {
        start();
        EXPECT_TRUE(waitUntil([&] { return launched().size() >= static_cast<std::size_t>(i) + 2; }));
        capture->stop();
        world->advance(120s);
    }
    EXPECT_EQ(launched().size(), 11U);
    EXPECT_EQ(world->mainQueue.waitingTimers(), 0U);
}

TEST_F(BonjourCaptureTest, a_child_that_never_ends_a_line_takes_no_memory) {
    toolBecomes("endless");
    start();
    ASSERT_TRUE(world->until([&] { return launched().size() == 1; }));
    const std::size_t before = fakes::residentBytes();
    // The time in which it would be felt: some hundred megabytes go through.
    world->until([] { return false; }, 1s);
    if (fakes::memoryCanBeMeasured) {
        EXPECT_LT(fakes::residentBytes(), before + (std::size_t{16} << 20));
    }
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(seen(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
