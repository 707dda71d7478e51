#include "bridge/TunnelPortInbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(TunnelPortInbox, hands_ports_over_in_the_order_in_which_they_came) {
    TunnelPortInbox inbox;
    inbox.put(60002);
    inbox.put(60001);
    EXPECT_THAT(inbox.take().ports, ElementsAre(60002, 60001));
    EXPECT_THAT(inbox.take().ports, IsEmpty());
}

TEST(TunnelPortInbox, asks_to_be_emptied_once_for_all_that_wait) {
    TunnelPortInbox inbox;
    EXPECT_TRUE(inbox.put(60001));
    EXPECT_FALSE(inbox.put(60002));
    static_cast<void>(inbox.take());
    EXPECT_TRUE(inbox.put(60003));
}

TEST(TunnelPortInbox, keeps_a_port_once_however_often_it_comes) {
    TunnelPortInbox inbox;
    for (int i = 0; i < 1'000'000; ++i)
        inbox.put(60001);
    EXPECT_THAT(inbox.take().ports, ElementsAre(60001));
}

TEST(TunnelPortInbox, takes_a_port_in_again_after_it_was_handed_over) {
    TunnelPortInbox inbox;
    inbox.put(60001);
    static_cast<void>(inbox.take());
    EXPECT_TRUE(inbox.put(60001));
    EXPECT_THAT(inbox.take().ports, ElementsAre(60001));
}

TEST(TunnelPortInbox, hands_many_ports_over_in_several_turns) {
    TunnelPortInbox inbox;
    for (std::uint16_t port = 1; port <= 201; ++port)
        inbox.put(port);
    const auto first = inbox.take();
    EXPECT_THAT(first.ports, SizeIs(100));
    EXPECT_TRUE(first.moreWait);
    // Whoever took has to come back anyway.
    EXPECT_FALSE(inbox.put(202));
    EXPECT_TRUE(inbox.take().moreWait);
    const auto last = inbox.take();
    EXPECT_THAT(last.ports, ElementsAre(201, 202));
    EXPECT_FALSE(last.moreWait);
    EXPECT_TRUE(inbox.put(203));
}

}  // namespace
}  // namespace quillbay
