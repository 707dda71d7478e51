#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <random>
#include <string>

#include "fakes/ManualClock.h"
#include "fakes/ScriptedTools.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/TestMainQueue.h"
#include "platform/Host.h"

namespace quillbay::fakes {

/// A host for tests: real queues, sockets and children; time that stands still; files and tools in a folder
/// of its own; loopback addresses that no other test uses.
struct TestHost {
    TemporaryFolder folder;
    ScriptedTools tools{folder.path() / "tools"};
    NetworkThreads network{2};
    ManualClock clock;
    TestMainQueue mainQueue{clock};
    SystemRandomSource random;
    BackgroundWork background;
    /// The computer's own address and the phone's, unlike any other test's.
    std::string macIP = randomLoopback();
    std::string phoneIP = randomLoopback();
    Host host{mainQueue,
              network,
              background,
              clock,
              random,
              {folder.path() / "data", folder.path() / "config", folder.path(), folder.path() / "run"},
              tools.table(),
              [] { return std::string("en0"); },
              [this](const std::string&) { return address(); }};

    /// The threads post to the main queue, so they end first.
    ~TestHost() { network.stop(); }

    [[nodiscard]] std::optional<std::string> address() const {
        const std::lock_guard lock(mutex_);
        return address_;
    }
    void setAddress(std::optional<std::string> address) {
        const std::lock_guard lock(mutex_);
        address_ = std::move(address);
    }

    /// Runs the main queue until `done` or a generous limit; returns the last answer.
    bool until(const std::function<bool()>& done, std::chrono::seconds limit = std::chrono::seconds(20)) {
        return mainQueue.runUntil(done, limit);
    }

    /// Runs everything that the main queue holds now and what that posts.
    void settle() {
        bool last = false;
        mainQueue.post([&] { mainQueue.post([&] { last = true; }); });
        until([&] { return last; });
    }

    /// Moves the clock and runs what the main queue's timers had been waiting for.
    void advance(std::chrono::milliseconds duration) {
        clock.advance(duration);
        mainQueue.postDueTimers();
        settle();
    }

    static std::string randomLoopback() {
        std::random_device random;
        return "127." + std::to_string(1 + random() % 250) + "." + std::to_string(1 + random() % 250) + "." +
               std::to_string(1 + random() % 250);
    }

 private:
    mutable std::mutex mutex_;
    std::optional<std::string> address_ = macIP;
};

}  // namespace quillbay::fakes
