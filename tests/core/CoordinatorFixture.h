#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/AppCoordinator.h"
#include "core/ReachableProfile.h"
#include "fakes/TestHost.h"

namespace quillbay {

/// Answers for the services on a network that the test describes, and records what was asked.
class ScriptedNetwork {
 public:
    /// The answer for a host; every other one is silent.
    void answer(const std::string& host, PresenceAnswer answer) {
        const std::lock_guard lock(mutex_);
        answers_[host] = answer;
    }
    /// From now on a question waits until it is abandoned, or `release` is called.
    void hold() {
        const std::lock_guard lock(mutex_);
        held_.emplace();
    }
    void release() {
        const std::lock_guard lock(mutex_);
        held_->requestStop();
        held_.reset();
    }

    [[nodiscard]] std::vector<std::string> asked() const {
        const std::lock_guard lock(mutex_);
        return asked_;
    }
    [[nodiscard]] std::size_t askedFor(const std::string& host) const {
        const std::lock_guard lock(mutex_);
        return static_cast<std::size_t>(std::count(asked_.begin(), asked_.end(), host));
    }
    [[nodiscard]] std::vector<std::chrono::milliseconds> timeouts() const {
        const std::lock_guard lock(mutex_);
        return timeouts_;
    }

    [[nodiscard]] AppCoordinator::ServiceQuestion question() {
        return [this](const CapturedBonjourService& service, std::chrono::milliseconds timeout,
                      const StopToken& token) { return ask(service.host, timeout, token); };
    }

 private:
    PresenceAnswer ask(const std::string& host, std::chrono::milliseconds timeout, const StopToken& token) {
        std::optional<StopSource> held;
        {
            const std::lock_guard lock(mutex_);
            asked_.push_back(host);
            timeouts_.push_back(timeout);
            held = held_;
        }
        if (held) {
            const StopRegistration abandoned = token.onStop([&held] { held->requestStop(); });
            static_cast<void>(held->token().sleepFor(std::chrono::hours(1)));
        }
        if (token.stopRequested()) return PresenceAnswer::silent;
        const std::lock_guard lock(mutex_);
        const auto found = answers_.find(host);
        return found == answers_.end() ? PresenceAnswer::silent : found->second;
    }

    mutable std::mutex mutex_;
    std::map<std::string, PresenceAnswer> answers_;
    std::vector<std::string> asked_;
    std::vector<std::chrono::milliseconds> timeouts_;
    std::optional<StopSource> held_;
};

/// A coordinator on a scripted host and network.
class CoordinatorTest : public ::testing::Test {
 protected:
    void make() {
        coordinator = AppCoordinator::make(world.host,
                                           {.presenceCheck = [](const std::string&, std::chrono::milliseconds,
                                                                const StopToken&) { return false; },
                                            .serviceQuestion = network.question()});
        watching =
            coordinator->published.add([this](const AppCoordinator::Published& part) { ++changes[part]; });
        // The report of the first address comes before anything that a program does next.
        world.settle();
        changes.clear();
    }

    /// The diagnostic lines without their timestamps, the first two of every run left out.
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> all;
        for (const std::string& line : coordinator->logs().diagnosticLines())
            all.push_back(line.substr(25));
        all.erase(all.begin(), all.begin() + std::min<std::ptrdiff_t>(2, std::ssize(all)));
        return all;
    }

    /// Waits until nothing runs in the background any more and all that it posted has been handled.
    bool untilQuiet(std::chrono::seconds limit = std::chrono::seconds(20)) {
        const bool ended = world.until([this] { return world.background.pending() == 0; }, limit);
        world.settle();
        return ended;
    }

    [[nodiscard]] CapturedBonjourService service(const std::string& host,
                                                 std::chrono::seconds age = std::chrono::seconds(0)) const {
        CapturedBonjourService made;
        made.name = host.substr(0, host.find('.')) + "-instance";
        made.serviceType = "_remotepairing._tcp";
        made.domain = "local";
        made.host = host;
        made.port = 49152;
        made.lastSeen = world.clock.now() - age;
        return made;
    }

    /// The hosts of the captured services, in their order.
    [[nodiscard]] std::vector<std::string> hosts() const {
        std::vector<std::string> all;
        for (const CapturedBonjourService& captured : coordinator->capturedServices())
            all.push_back(captured.host);
        return all;
    }

    DeviceProfile profile(const std::string& name, std::uint16_t port) const {
        return reachableProfile(name, world.phoneIP, port);
    }

    // The questions run in the world's background.
    ScriptedNetwork network;
    fakes::TestHost world;
    std::map<AppCoordinator::Published, int> changes;
    Subscription watching;
    std::shared_ptr<AppCoordinator> coordinator;
};

}  // namespace quillbay
