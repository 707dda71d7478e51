#include "core/RefusalLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "fakes/TestHost.h"
#include "platform/Sockets.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RefusalLogTest : public ::testing::Test {
 protected:
    void SetUp() override {
        access->setOnlyThisComputer(true);
        log.emplace(world.mainQueue, logs, access);
    }

    void refuse(RelayAccess::Kind kind, const char* source = "192.168.77.3", int times = 1) {
        // As the relays do, on a thread of their own.
        std::thread([&] {
            for (int i = 0; i < times; ++i)
                access->admits(kind, ipv4Endpoint(source, 0).sin_addr,
                               ipv4Endpoint("192.168.77.1", 0).sin_addr);
        }).join();
        world.settle();
    }

    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> all;
        for (const std::string& line : logs.diagnosticLines())
            all.push_back(line.substr(25));
        return all;
    }

    fakes::TestHost world;
    AppLogStore logs{world.host.files, world.host.clock};
    std::shared_ptr<RelayAccess> access = std::make_shared<RelayAccess>();
    std::optional<RefusalLog> log;
};

constexpr auto connection = RelayAccess::Kind::connection;
constexpr auto datagram = RelayAccess::Kind::datagram;

TEST_F(RefusalLogTest, is_silent_while_nobody_is_refused) {
    world.advance(10min);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RefusalLogTest, the_first_refusal_is_written_at_once) {
    refuse(connection);
    EXPECT_THAT(lines(),
                ElementsAre("Only this computer may use the bridge: 1 connection(s) and 0 datagram(s) of "
                            "others refused so far, the last from 192.168.77.3"));
}

TEST_F(RefusalLogTest, a_flood_is_one_line_a_minute_with_what_came_in_it) {
    refuse(datagram);
    refuse(datagram, "192.168.77.4", 10'000);
    world.advance(59s);
    EXPECT_EQ(lines().size(), 1U);
    world.advance(1s);
    EXPECT_EQ(lines().size(), 2U);
    EXPECT_EQ(
        lines().back(),
        "Only this computer may use the bridge: 0 connection(s) and 10001 datagram(s) of others refused so "
        "far, the last from 192.168.77.4");
    refuse(datagram);
    EXPECT_EQ(lines().size(), 2U);
    world.advance(1min);
    EXPECT_EQ(lines().size(), 3U);
}

TEST_F(RefusalLogTest, after_a_quiet_minute_the_next_one_is_written_at_once_and_no_timer_runs_until_then) {
    refuse(connection);
    world.advance(1min);
    EXPECT_EQ(lines().size(), 1U);
    EXPECT_EQ(world.mainQueue.waitingTimers(), 0U);
    refuse(connection);
    EXPECT_EQ(lines().size(), 2U);
}

TEST_F(RefusalLogTest, may_go_before_what_a_relay_has_posted_arrives) {
    world.mainQueue.post([this] { log.reset(); });
    refuse(connection);
    refuse(connection);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(access->refused().connections, 2U);
}

}  // namespace
}  // namespace quillbay
