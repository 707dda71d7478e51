#include "bridge/TunnelPortWatcher.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <mutex>
#include <system_error>
#include <vector>

#include "bridge/ChildrenSupport.h"
#include "fakes/TemporaryFolder.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {
namespace {

using children::eventually;
using Ports = std::vector<std::uint16_t>;

TEST(TunnelPortInLogLine, reads_the_port_after_the_last_colon_of_an_ipv6_address) {
    EXPECT_EQ(tunnelPortInLogLine("2026-11-20 remotepairingd: Got tunnel endpoint: 'fd12::1:60123'"), 60123);
}

TEST(TunnelPortInLogLine, reads_an_ipv4_endpoint_anywhere_in_the_line) {
    EXPECT_EQ(tunnelPortInLogLine("x Got tunnel endpoint: '100.64.0.2:49200' for device"), 49200);
}

TEST(TunnelPortInLogLine, takes_the_largest_port_and_none_above) {
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'h:65535'"), 65535);
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'h:65536'"), std::nullopt);
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'h:70000'"), std::nullopt);
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'h:99999999999999999999999'"), std::nullopt);
}

TEST(TunnelPortInLogLine, takes_the_first_endpoint_of_a_line) {
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'a:1' Got tunnel endpoint: 'b:2'"), 1);
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'a:x' Got tunnel endpoint: 'b:2'"), 2);
    EXPECT_EQ(tunnelPortInLogLine("Got tunnel endpoint: 'a:70000' Got tunnel endpoint: 'b:2'"), std::nullopt);
}

TEST(TunnelPortInLogLine, finds_nothing_in_other_lines) {
    for (const char* line :
         {"", "Got tunnel endpoint: ", "Got tunnel endpoint: 'h'", "Got tunnel endpoint: 'h:'",
          "Got tunnel endpoint: 'h:12", "Got tunnel endpoint: h:12", "got tunnel endpoint: 'h:12'",
          "Got tunnel endpoint: 'h:12x'", "Got tunnel endpoint: 'h:-12'", "Got tunnel endpoint:'h:1'"})
        EXPECT_EQ(tunnelPortInLogLine(line), std::nullopt) << line;
}

TEST(TunnelPortInLogLine, takes_linear_time_for_a_long_hostile_line) {
    std::string line;
    while (line.size() < 60000)
        line += "Got tunnel endpoint: '1:1";
    EXPECT_EQ(tunnelPortInLogLine(line), std::nullopt);
}

class TunnelPortWatcherTest : public ::testing::Test {
 protected:
    TunnelPortWatcherTest() {
        if (::mkfifo(pipePath().c_str(), 0600) != 0)
            throw std::system_error(errno, std::generic_category(), "mkfifo");
        follow("pipe", pipePath());
    }

    [[nodiscard]] std::string pipePath() const { return (folder.path() / "log").string(); }

    void follow(const std::string& manner, const std::string& what) {
        tools.logFollower = {std::string(QUILLBAY_TEST_TOOLS) + "/fake-log-follower", {manner, what}};
    }

    std::unique_ptr<TunnelPortWatcher> makeWatcher() {
        auto watcher = std::make_unique<TunnelPortWatcher>(tools, network);
        watcher->onPort = [this](std::uint16_t port) {
            const std::lock_guard lock(mutex);
            ports.push_back(port);
        };
        return watcher;
    }

    /// The writing end of the follower's pipe, once the follower reads.
    UniqueDescriptor log() {
        UniqueDescriptor writer;
        EXPECT_TRUE(eventually([&] {
            writer.reset(::open(pipePath().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            return writer.valid();
        }));
        return writer;
    }

    static void say(const UniqueDescriptor& writer, const std::string& text) {
        ASSERT_EQ(::write(writer.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    Ports seen() {
        const std::lock_guard lock(mutex);
        return ports;
    }

    /// True once nobody reads the follower's pipe any more: it has ended.
    static bool followerEnds(const UniqueDescriptor& writer) {
        ::signal(SIGPIPE, SIG_IGN);
        return eventually([&] { return ::write(writer.get(), "\n", 1) < 0 && errno == EPIPE; });
    }

    fakes::TemporaryFolder folder;
    HostTools tools;
    std::mutex mutex;
    Ports ports;
    NetworkThreads network{2};
};

TEST_F(TunnelPortWatcherTest, reports_ports_in_order_and_repeated_ones_again) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    say(writer,
        "noise\nGot tunnel endpoint: 'fd12::1:60123'\nGot tunnel endpoint: 'h:70000'\n"
        "Got tunnel endpoint: 'h:49200'\nGot tunnel endpoint: 'fd12::1:60123'\n");
    EXPECT_TRUE(eventually([&] { return seen().size() >= 3; }));
    EXPECT_EQ(seen(), (Ports{60123, 49200, 60123}));
}

TEST_F(TunnelPortWatcherTest, matches_a_line_split_over_two_reads_once_after_its_end_has_come) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    say(writer, "Got tunnel endpoint: 'h:1'\nGot tunnel endpoint: 'fd12::1:60123'");
    EXPECT_TRUE(eventually([&] { return !seen().empty(); }));
    network.drain();
    EXPECT_EQ(seen(), Ports{1});
    say(writer, "\n");
    EXPECT_TRUE(eventually([&] { return seen().size() >= 2; }));
    say(writer, "Got tunnel endpoint: 'h:2'\n");
    EXPECT_TRUE(eventually([&] { return seen().size() >= 3; }));
    EXPECT_EQ(seen(), (Ports{1, 60123, 2}));
}

TEST_F(TunnelPortWatcherTest, calls_back_on_its_own_queue) {
    const auto watcher = makeWatcher();
    std::atomic<std::thread::id> queueThread;
    network.queueFor(0, "probe").sync([&] { queueThread = std::this_thread::get_id(); });
    std::atomic<std::thread::id> calledOn;
    watcher->onPort = [&](std::uint16_t) { calledOn = std::this_thread::get_id(); };
    watcher->start();
    say(log(), "Got tunnel endpoint: 'h:5'\n");
    EXPECT_TRUE(eventually([&] { return calledOn.load() != std::thread::id(); }));
    EXPECT_EQ(calledOn.load(), queueThread.load());
}

TEST_F(TunnelPortWatcherTest, drops_a_chunk_that_is_not_utf8_and_goes_on) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    say(writer, "Got tunnel endpoint: 'h:1'\n");
    EXPECT_TRUE(eventually([&] { return seen().size() == 1; }));
    say(writer, "\xFF Got tunnel endpoint: 'h:2'\n");
    // Whether the two writes are read together or apart, the second chunk's text must never be half read.
    EXPECT_TRUE(eventually([&] {
        say(writer, "Got tunnel endpoint: 'h:3'\n");
        return seen().size() >= 2;
    }));
    EXPECT_EQ(seen()[1], 3);
}

TEST_F(TunnelPortWatcherTest, drops_a_line_without_end_and_keeps_following) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    ASSERT_EQ(::fcntl(writer.get(), F_SETFL, 0), 0);
    const std::string block(4096, 'x');
    for (int i = 0; i < 256; ++i)
        say(writer, block);
    say(writer, "Got tunnel endpoint: 'h:1'\nGot tunnel endpoint: 'h:2'\n");
    EXPECT_TRUE(eventually([&] { return !seen().empty(); }));
    EXPECT_EQ(seen(), Ports{2});
}

TEST_F(TunnelPortWatcherTest, stop_ends_the_follower_and_all_calls) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    say(writer, "Got tunnel endpoint: 'h:1'\n");
    EXPECT_TRUE(eventually([&] { return seen().size() == 1; }));
    watcher->stop();
    watcher->onPort = {};
    EXPECT_TRUE(followerEnds(writer));
    network.drain();
    EXPECT_EQ(seen(), Ports{1});
}

TEST_F(TunnelPortWatcherTest, says_once_that_the_follower_has_ended_by_itself) {
    const auto watcher = makeWatcher();
    std::atomic<int> ends = 0;
    watcher->onEnd = [&] { ++ends; };
    watcher->start();
    UniqueDescriptor writer = log();
    say(writer, "Got tunnel endpoint: 'h:1'\n");
    EXPECT_TRUE(eventually([&] { return !seen().empty(); }));
    EXPECT_EQ(ends, 0);
    writer.reset();
    EXPECT_TRUE(eventually([&] { return ends > 0; }));
    watcher->stop();
    network.drain();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(seen(), Ports{1});
}

TEST_F(TunnelPortWatcherTest, does_not_say_so_of_one_that_was_stopped) {
    const auto watcher = makeWatcher();
    std::atomic<int> ends = 0;
    watcher->onEnd = [&] { ++ends; };
    watcher->start();
    const UniqueDescriptor writer = log();
    watcher->stop();
    EXPECT_TRUE(followerEnds(writer));
    network.drain();
    EXPECT_EQ(ends, 0);
}

TEST_F(TunnelPortWatcherTest, stop_is_safe_before_start_and_twice) {
    const auto watcher = makeWatcher();
    watcher->stop();
    watcher->start();
    const UniqueDescriptor writer = log();
    watcher->stop();
    watcher->stop();
    EXPECT_TRUE(followerEnds(writer));
}

TEST_F(TunnelPortWatcherTest, stop_does_not_wait_for_a_stubborn_follower) {
    follow("stubborn", pipePath());
    const auto watcher = makeWatcher();
    watcher->start();
    UniqueDescriptor writer = log();
    const auto began = std::chrono::steady_clock::now();
    watcher->stop();
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(1000));
    // Nobody takes what it prints any more, which ends it at its next line.
    EXPECT_TRUE(followerEnds(writer));
}

TEST_F(TunnelPortWatcherTest, stop_ends_a_flood) {
    follow("flood", "Got tunnel endpoint: 'h:7'");
    const auto watcher = makeWatcher();
    watcher->start();
    EXPECT_TRUE(eventually([&] { return seen().size() > 10000; }));
    watcher->stop();
    network.drain();
    const std::size_t count = seen().size();
    network.drain();
    EXPECT_EQ(seen().size(), count);
}

TEST_F(TunnelPortWatcherTest, a_follower_that_ends_by_itself_is_not_started_again) {
    const auto watcher = makeWatcher();
    watcher->start();
    {
        const UniqueDescriptor writer = log();
        say(writer, "Got tunnel endpoint: 'h:1'\nGot tunnel endpoint: 'h:2'");
    }
    EXPECT_TRUE(eventually([&] { return !seen().empty(); }));
    // The end of its log ends the follower. A new one would be a reader of the pipe, and opening would work
    // again.
    EXPECT_TRUE(eventually([&] {
        const UniqueDescriptor writer(::open(pipePath().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        return !writer.valid() && errno == ENXIO;
    }));
    network.drain();
    EXPECT_EQ(seen(), Ports{1});
    watcher->stop();
}

TEST_F(TunnelPortWatcherTest, a_restart_forgets_the_unfinished_line) {
    const auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor first = log();
    say(first, "Got tunnel endpoint: 'h:1'\nGot tunnel endpoint: 'h:2");
    EXPECT_TRUE(eventually([&] { return seen().size() == 1; }));
    watcher->stop();
    EXPECT_TRUE(followerEnds(first));
    watcher->start();
    const UniqueDescriptor second = log();
    say(second, "9'\nGot tunnel endpoint: 'h:3'\n");
    EXPECT_TRUE(eventually([&] { return seen().size() >= 2; }));
    EXPECT_EQ(seen(), (Ports{1, 3}));
}

TEST_F(TunnelPortWatcherTest, a_failed_launch_is_thrown_and_leaves_the_watcher_stopped) {
    const std::string missing = (folder.path() / "missing").string();
    tools.logFollower = {missing, {}};
    const auto watcher = makeWatcher();
    try {
        watcher->start();
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
    }
    watcher->stop();
}

TEST_F(TunnelPortWatcherTest, destruction_ends_the_follower) {
    auto watcher = makeWatcher();
    watcher->start();
    const UniqueDescriptor writer = log();
    watcher.reset();
    EXPECT_TRUE(followerEnds(writer));
}

TEST_F(TunnelPortWatcherTest, works_without_a_callback) {
    const auto watcher = makeWatcher();
    watcher->onPort = {};
    watcher->start();
    const UniqueDescriptor writer = log();
    say(writer, "Got tunnel endpoint: 'h:1'\n");
    watcher->stop();
    EXPECT_TRUE(followerEnds(writer));
}

TEST_F(TunnelPortWatcherTest, many_starts_leave_no_descriptor_behind) {
    const auto watcher = makeWatcher();
    // The first launch of a process opens what all later ones share.
    watcher->start();
    UniqueDescriptor writer = log();
    watcher->stop();
    EXPECT_TRUE(followerEnds(writer));
    writer.reset();
    network.drain();
    const auto before = children::openDescriptors();
    for (int i = 0; i < 10; ++i) {
        watcher->start();
        watcher->stop();
    }
    EXPECT_TRUE(eventually([&] { return children::openDescriptors() <= before; }));
}

}  // namespace
}  // namespace quillbay
