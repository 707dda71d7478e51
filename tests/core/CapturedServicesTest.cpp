#include "core/CapturedServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

CapturedBonjourService service(const std::string& host, std::uint16_t port = 1) {
    CapturedBonjourService made;
    made.host = host;
    made.port = port;
    return made;
}

std::vector<std::string> hosts(const CapturedServices& services) {
    std::vector<std::string> all;
    for (const CapturedBonjourService& listed : services.sorted())
        all.push_back(listed.host);
    return all;
}

TEST(CapturedServices, takes_many_at_once_into_their_places) {
    CapturedServices services;
    services.upsert({service("d"), service("b")}, {});
    services.upsert({service("f"), service("a"), service("c"), service("e"), service("b", 2)}, {});
    EXPECT_THAT(hosts(services), ElementsAre("a", "b", "c", "d", "e", "f"));
    EXPECT_EQ(services.sorted().at(1).port, 2);
    services.upsert({}, {});
    EXPECT_THAT(services.sorted(), SizeIs(6));
}

TEST(CapturedServices, of_two_with_one_host_in_one_batch_the_later_counts) {
    CapturedServices services;
    services.upsert({service("a", 1), service("b", 1), service("a", 2)}, {});
    EXPECT_THAT(hosts(services), ElementsAre("a", "b"));
    EXPECT_EQ(services.sorted().at(0).port, 2);
}

TEST(CapturedServices, a_missing_one_is_in_the_list_again_when_it_was_seen) {
    CapturedServices services;
    services.upsert({service("a"), service("b")}, {});
    const std::chrono::system_clock::time_point later(std::chrono::seconds(10));
    ASSERT_TRUE(services.markSeen("b", later));
    ASSERT_TRUE(services.keepSeenAfter(later - std::chrono::seconds(1)));
    EXPECT_THAT(hosts(services), ElementsAre("b"));
    EXPECT_THAT(services.missing(), SizeIs(1));
    EXPECT_TRUE(services.markSeen("a", later));
    EXPECT_THAT(hosts(services), ElementsAre("a", "b"));
    EXPECT_THAT(services.missing(), SizeIs(0));
}

TEST(CapturedServices, a_new_record_takes_the_place_of_a_missing_one) {
    CapturedServices services;
    services.upsert({service("a", 1)}, {});
    ASSERT_TRUE(services.keepSeenAfter(std::chrono::system_clock::time_point(std::chrono::seconds(1))));
    services.upsert({service("a", 2)}, {});
    EXPECT_THAT(hosts(services), ElementsAre("a"));
    EXPECT_EQ(services.sorted().at(0).port, 2);
    EXPECT_THAT(services.missing(), SizeIs(0));
}

TEST(CapturedServices, a_missing_one_is_forgotten) {
    CapturedServices services;
    services.upsert({service("a")}, {});
    const std::chrono::system_clock::time_point later(std::chrono::seconds(10));
    ASSERT_TRUE(services.keepSeenAfter(later));
    services.forgetMissing(later);
    EXPECT_THAT(services.missing(), SizeIs(0));
    EXPECT_FALSE(services.markSeen("a", later));
}

TEST(CapturedServices, holds_ten_thousand_however_they_come) {
    std::vector<CapturedBonjourService> flood;
    for (int i = 0; i < 15'000; ++i)
        flood.push_back(service(std::to_string(i * 7919 % 15'000)));
    CapturedServices services;
    for (std::size_t begin = 0; begin < flood.size(); begin += 1'000) {
        const auto from = flood.begin() + static_cast<std::ptrdiff_t>(begin);
        services.upsert({from, from + 1'000}, {});
    }
    EXPECT_THAT(services.sorted(), SizeIs(10'000));
    const std::vector<std::string> all = hosts(services);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
}

/// A service that takes about `mebibytes`.
CapturedBonjourService large(const std::string& host, std::size_t mebibytes = 1) {
    CapturedBonjourService made = service(host);
    made.txt["k"] = std::string(mebibytes << 20U, 'v');
    return made;
}

TEST(CapturedServices, hold_no_more_than_their_memory_however_large_the_records_are) {
    CapturedServices services;
    for (int i = 100; i < 200; ++i)
        services.upsert({large(std::to_string(i)), large(std::to_string(i), 2)}, {});
    std::size_t bytes = 0;
    for (const auto& listed : services.sorted())
        bytes += CapturedServices::cost(listed);
    EXPECT_LE(bytes, CapturedServices::maxBytes);
    EXPECT_THAT(services.sorted(), SizeIs(::testing::Ge(15U)));

    // One that is listed does not grow beyond it either, and makes room when it shrinks.
    const std::size_t count = services.sorted().size();
    services.upsert({large("100", 40)}, {});
    EXPECT_EQ(services.sorted().at(0).txt.at("k").size(), std::size_t{2} << 20U);
    services.upsert({service("100"), service("phone")}, {});
    EXPECT_EQ(services.sorted().size(), count + 1);
}

TEST(CapturedServices, keep_no_more_missing_ones_than_their_memory) {
    CapturedServices services;
    const std::chrono::system_clock::time_point later(std::chrono::seconds(10));
    for (int i = 100; i < 200; ++i) {
        services.upsert({large(std::to_string(i))}, {});
        ASSERT_THAT(services.sorted(), SizeIs(1));
        services.keepSeenAfter(later);
    }
    EXPECT_THAT(services.missing(), SizeIs(31));
    for (int i = 100; i < 131; ++i)
        EXPECT_TRUE(services.markSeen(std::to_string(i), later)) << i;
    services.upsert({large("phone")}, {});
    EXPECT_THAT(services.sorted(), SizeIs(31)) << "they count again";
}

TEST(CapturedServices, marks_only_what_is_listed_as_seen) {
    CapturedServices services;
    services.upsert({service("a"), service("c")}, {});
    const auto now = std::chrono::system_clock::time_point(std::chrono::seconds(100));
    EXPECT_TRUE(services.markSeen("c", now));
    EXPECT_FALSE(services.markSeen("b", now));
    EXPECT_FALSE(services.markSeen("d", now));
    EXPECT_EQ(services.sorted().at(1).lastSeen, now);
    EXPECT_TRUE(services.keepSeenAfter(now - std::chrono::seconds(1)));
    EXPECT_THAT(hosts(services), ElementsAre("c"));
}

}  // namespace
}  // namespace quillbay
