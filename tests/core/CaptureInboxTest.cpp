#include "core/CaptureInbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ManualClock.h"
#include "fakes/TestMainQueue.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CaptureInboxTest : public ::testing::Test {
 protected:
    static CapturedBonjourService service(const std::string& host, std::uint16_t port = 1) {
        CapturedBonjourService made;
        made.host = host;
        made.port = port;
        return made;
    }
    void runAll() {
        bool last = false;
        queue.post([&] { last = true; });
        ASSERT_TRUE(queue.runUntil([&] { return last; }, std::chrono::seconds(20)));
    }

    fakes::ManualClock clock;
    fakes::TestMainQueue queue{clock};
    std::vector<CaptureInbox::Content> delivered;
    std::shared_ptr<CaptureInbox> inbox = std::make_shared<CaptureInbox>(
        queue, [this](CaptureInbox::Content content) { delivered.push_back(std::move(content)); });
};

TEST_F(CaptureInboxTest, hands_over_all_that_waits_at_once) {
    inbox->putService(service("b.local"));
    inbox->putLine("first");
    inbox->putService(service("a.local"));
    inbox->putLine("second");
    EXPECT_THAT(delivered, IsEmpty());
    runAll();
    ASSERT_THAT(delivered, SizeIs(1));
    EXPECT_THAT(delivered[0].services, ElementsAre(service("a.local"), service("b.local")));
    EXPECT_THAT(delivered[0].lines, ElementsAre("first", "second"));
    inbox->putLine("third");
    runAll();
    ASSERT_THAT(delivered, SizeIs(2));
    EXPECT_THAT(delivered[1].services, IsEmpty());
    EXPECT_THAT(delivered[1].lines, ElementsAre("third"));
}

TEST_F(CaptureInboxTest, keeps_the_newest_record_of_a_host) {
    inbox->putService(service("a.local", 1));
    inbox->putService(service("a.local", 2));
    runAll();
    ASSERT_THAT(delivered, SizeIs(1));
    EXPECT_THAT(delivered[0].services, ElementsAre(service("a.local", 2)));
}

TEST_F(CaptureInboxTest, a_flood_fills_neither_the_memory_nor_the_main_queue) {
    for (int i = 0; i < 200'000; ++i) {
        inbox->putService(service(std::to_string(i % 20'000) + ".local"));
        inbox->putLine("line " + std::to_string(i));
    }
    runAll();
    ASSERT_THAT(delivered, SizeIs(1));
    EXPECT_THAT(delivered[0].services, SizeIs(10'000));
    EXPECT_THAT(delivered[0].lines, SizeIs(1'000));
    EXPECT_EQ(delivered[0].lines.back(), "line 999");
}

TEST_F(CaptureInboxTest, a_flood_of_large_records_does_not_fill_the_memory) {
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 100; ++i) {
            CapturedBonjourService large = service(std::to_string(i) + ".local");
            large.txt["k"] = std::string(std::size_t{1} << 20U, 'v');
            inbox->putService(large);
            inbox->putService(large);
        }
        runAll();
        EXPECT_THAT(delivered.back().services, SizeIs(31));
    }
    EXPECT_THAT(delivered, SizeIs(2));
}

}  // namespace
}  // namespace quillbay
