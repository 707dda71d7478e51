#include "core/ProxyHosts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "fakes/ManualClock.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProxyHostsTest : public ::testing::Test {
 protected:
    fakes::ManualClock clock;
    ProxyHosts hosts{clock};
};

TEST_F(ProxyHostsTest, are_the_announced_hosts_in_lower_case) {
    EXPECT_THAT(hosts.all(), IsEmpty());
    hosts.insert("a#tailscale", "iPhone.local");
    hosts.insert("b#tailscale", "\u00DCber.local");
    EXPECT_THAT(hosts.all(), ElementsAre("iphone.local", "\u00FCber.local"));
}

TEST_F(ProxyHostsTest, a_host_stays_until_its_last_owner_is_gone) {
    hosts.insert("phone.local#tailscale", "phone.local");
    hosts.insert("phone.local#netbird", "Phone.local");
    hosts.remove("phone.local#tailscale");
    hosts.remove("nobody#");
    clock.advance(10s);
    EXPECT_THAT(hosts.all(), ElementsAre("phone.local"));
    hosts.remove("phone.local#netbird");
    clock.advance(10s);
    EXPECT_THAT(hosts.all(), IsEmpty());
}

TEST_F(ProxyHostsTest, an_owner_has_one_host) {
    hosts.insert("owner", "old.local");
    hosts.insert("owner", "new.local");
    clock.advance(10s);
    EXPECT_THAT(hosts.all(), ElementsAre("new.local"));
}

TEST_F(ProxyHostsTest, a_host_is_an_own_one_until_its_goodbye_has_passed) {
    hosts.insert("owner", "Phone.local");
    clock.advance(10s);
    hosts.remove("owner");
    clock.advance(1999ms);
    EXPECT_THAT(hosts.all(), ElementsAre("phone.local"));
    clock.advance(1ms);
    EXPECT_THAT(hosts.all(), IsEmpty());
}

TEST_F(ProxyHostsTest, a_host_that_another_one_took_the_place_of_is_withdrawn_too) {
    hosts.insert("owner", "old.local");
    hosts.insert("owner", "new.local");
    EXPECT_THAT(hosts.all(), ElementsAre("new.local", "old.local"));
}

TEST_F(ProxyHostsTest, a_host_that_is_announced_anew_stays) {
    hosts.insert("owner", "phone.local");
    hosts.remove("owner");
    clock.advance(1s);
    hosts.insert("owner", "phone.local");
    clock.advance(10s);
    EXPECT_THAT(hosts.all(), ElementsAre("phone.local"));
    hosts.remove("owner");
    clock.advance(1s);
    hosts.remove("owner");
    EXPECT_THAT(hosts.all(), ElementsAre("phone.local"));
    clock.advance(1s);
    EXPECT_THAT(hosts.all(), IsEmpty()) << "nothing was withdrawn the second time";
}

TEST_F(ProxyHostsTest, may_be_asked_on_another_thread) {
    std::thread asking([&] {
        for (int i = 0; i < 1000; ++i)
            EXPECT_LE(hosts.all().size(), 1U);
    });
    for (int i = 0; i < 1000; ++i) {
        hosts.insert("owner", "phone.local");
        hosts.remove("owner");
    }
    asking.join();
    clock.advance(10s);
    EXPECT_THAT(hosts.all(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
