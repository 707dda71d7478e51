#include "core/ServiceInquiries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>

#include "fakes/TestHost.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class ServiceInquiriesTest : public ::testing::Test {
 protected:
    static std::vector<CapturedBonjourService> services(const std::vector<std::string>& hosts) {
        std::vector<CapturedBonjourService> made(hosts.size());
        for (std::size_t i = 0; i < hosts.size(); ++i)
            made[i].host = hosts[i];
        return made;
    }

    void make() {
        inquiries.emplace(
            world.host,
            [this](const CapturedBonjourService& service, std::chrono::milliseconds, const StopToken& token) {
                const PresenceAnswer answer = onQuestion(service.host, token);
                const std::lock_guard lock(mutex);
                ++asked[service.host];
                return answer;
            },
            [this](const std::string& host) { answered.push_back(host); });
    }

    bool untilQuiet() {
        const bool ended = world.until([this] { return world.background.pending() == 0; });
        world.settle();
        return ended;
    }

    std::function<PresenceAnswer(const std::string&, const StopToken&)> onQuestion =
        [](const std::string&, const StopToken&) { return PresenceAnswer::answered; };
    std::mutex mutex;
    std::map<std::string, int> asked;
    std::vector<std::string> answered;
    // The questions run in its background and use what stands above.
    fakes::TestHost world;
    std::optional<ServiceInquiries> inquiries;
};

TEST_F(ServiceInquiriesTest, tells_who_answered) {
    make();
    inquiries->ask(services({"a", "b"}));
    ASSERT_TRUE(untilQuiet());
    std::sort(answered.begin(), answered.end());
    EXPECT_THAT(answered, ElementsAre("a", "b"));
    EXPECT_THAT(asked, ElementsAre(Pair("a", 1), Pair("b", 1)));
}

TEST_F(ServiceInquiriesTest, asks_a_silent_one_three_times_and_one_that_cannot_be_asked_once) {
    onQuestion = [](const std::string& host, const StopToken&) {
        return host == "silent" ? PresenceAnswer::silent : PresenceAnswer::couldNotAsk;
    };
    make();
    inquiries->ask(services({"cannot", "silent"}));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(answered, IsEmpty());
    EXPECT_THAT(asked, ElementsAre(Pair("cannot", 1), Pair("silent", 3)));
}

TEST_F(ServiceInquiriesTest, an_answer_to_a_later_attempt_counts) {
    std::atomic<int> attempts = 0;
    onQuestion = [&](const std::string&, const StopToken&) {
        return ++attempts < 3 ? PresenceAnswer::silent : PresenceAnswer::answered;
    };
    make();
    inquiries->ask(services({"lossy"}));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(answered, ElementsAre("lossy"));
}

TEST_F(ServiceInquiriesTest, asks_for_ten_thousand_a_few_at_a_time) {
    std::atomic<int> now = 0;
    std::atomic<int> most = 0;
    onQuestion = [&](const std::string&, const StopToken&) {
        const int running = ++now;
        for (int before = most; running > before && !most.compare_exchange_weak(before, running);) {
        }
        --now;
        return PresenceAnswer::answered;
    };
    std::vector<std::string> hosts;
    for (int i = 0; i < 10'000; ++i)
        hosts.push_back(std::to_string(i));
    make();
    inquiries->ask(services(hosts));
    EXPECT_LE(world.background.pending(), 16U);
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(answered.size(), 10'000U);
    EXPECT_LE(most, 16);
}

TEST_F(ServiceInquiriesTest, forgets_what_still_waits_when_it_is_asked_anew) {
    const StopSource released;
    std::atomic<int> holding = 0;
    onQuestion = [&holding, released](const std::string&, const StopToken& token) {
        const StopRegistration abandoned = token.onStop([&released] { released.requestStop(); });
        ++holding;
        static_cast<void>(released.token().sleepFor(std::chrono::hours(1)));
        return PresenceAnswer::couldNotAsk;
    };
    make();
    std::vector<std::string> hosts;
    for (int i = 0; i < 100; ++i)
        hosts.push_back("old-" + std::to_string(i));
    inquiries->ask(services(hosts));
    ASSERT_TRUE(fakes::waitUntil([&] { return holding == 16; }));
    hosts.emplace_back("new");
    inquiries->ask(services({"old-0", "new"}));
    released.requestStop();
    ASSERT_TRUE(untilQuiet());
    EXPECT_EQ(asked.size(), 17U);
    EXPECT_EQ(asked["new"], 1);
    EXPECT_EQ(asked["old-0"], 1) << "it was just being asked for";
}

TEST_F(ServiceInquiriesTest, one_that_was_not_asked_for_comes_before_those_who_were_silent) {
    std::vector<std::string> begun;
    std::condition_variable changed;
    std::size_t allowed = 16;
    onQuestion = [&](const std::string& host, const StopToken&) {
        std::unique_lock lock(mutex);
        begun.push_back(host);
        changed.notify_all();
        const std::size_t turn = begun.size();
        changed.wait(lock, [&] { return turn <= allowed; });
        return PresenceAnswer::silent;
    };
    std::vector<std::string> hosts;
    for (int i = 10; i < 50; ++i)
        hosts.push_back("left-" + std::to_string(i));
    hosts.emplace_back("near");
    make();
    inquiries->ask(services(hosts));
    const auto untilBegun = [&](std::size_t count) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), [&] { return begun.size() == count; });
    };
    const auto allow = [&](std::size_t count) {
        const std::lock_guard lock(mutex);
        allowed = count;
        changed.notify_all();
    };
    // Sixteen have been silent, and sixteen are being asked.
    ASSERT_TRUE(untilBegun(32));
    inquiries->ask(services(hosts));
    allow(25);
    ASSERT_TRUE(untilBegun(41));
    {
        const std::lock_guard lock(mutex);
        EXPECT_EQ(std::count(begun.begin(), begun.end(), "near"), 1) << "those who were silent came first";
    }
    allow(1'000);
    ASSERT_TRUE(untilQuiet());
}

TEST_F(ServiceInquiriesTest, dropping_it_abandons_the_questions) {
    std::atomic<int> holding = 0;
    onQuestion = [&](const std::string&, const StopToken& token) {
        ++holding;
        static_cast<void>(token.sleepFor(std::chrono::hours(1)));
        return PresenceAnswer::answered;
    };
    make();
    inquiries->ask(services({"a", "b", "c"}));
    ASSERT_TRUE(fakes::waitUntil([&] { return holding == 3; }));
    inquiries.reset();
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(answered, IsEmpty());
}

CapturedBonjourService named(const std::string& name) {
    CapturedBonjourService service;
    service.name = name;
    service.serviceType = "_remotepairing._tcp";
    service.domain = "local";
    service.host = "iPhone.local";
    return service;
}

TEST(QuestionName, is_the_full_name_of_the_instance) {
    EXPECT_EQ(questionName(named("\u00DCber-1f2e")), "\u00DCber-1f2e._remotepairing._tcp.local");
}

TEST(QuestionName, is_the_host_where_the_instance_has_no_plain_label) {
    EXPECT_EQ(questionName(named("a.b")), "iPhone.local");
    EXPECT_EQ(questionName(named("a\\032b")), "iPhone.local");
    EXPECT_EQ(questionName(named("")), "iPhone.local");
}

}  // namespace
}  // namespace quillbay
