#include "core/ProxyHosts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ProxyHosts, are_the_announced_hosts_in_lower_case) {
    ProxyHosts hosts;
    EXPECT_THAT(hosts.all(), IsEmpty());
    hosts.insert("a#tailscale", "iPhone.local");
    hosts.insert("b#tailscale", "\u00DCber.local");
    EXPECT_THAT(hosts.all(), ElementsAre("iphone.local", "\u00FCber.local"));
}

TEST(ProxyHosts, a_host_stays_until_its_last_owner_is_gone) {
    ProxyHosts hosts;
    hosts.insert("phone.local#tailscale", "phone.local");
    hosts.insert("phone.local#netbird", "Phone.local");
    hosts.remove("phone.local#tailscale");
    hosts.remove("nobody#");
    EXPECT_THAT(hosts.all(), ElementsAre("phone.local"));
    hosts.remove("phone.local#netbird");
    EXPECT_THAT(hosts.all(), IsEmpty());
}

TEST(ProxyHosts, an_owner_has_one_host) {
    ProxyHosts hosts;
    hosts.insert("owner", "old.local");
    hosts.insert("owner", "new.local");
    EXPECT_THAT(hosts.all(), ElementsAre("new.local"));
}

TEST(ProxyHosts, may_be_asked_on_another_thread) {
    ProxyHosts hosts;
    std::thread asking([&] {
        for (int i = 0; i < 1000; ++i)
            EXPECT_LE(hosts.all().size(), 1U);
    });
    for (int i = 0; i < 1000; ++i) {
        hosts.insert("owner", "phone.local");
        hosts.remove("owner");
    }
    asking.join();
    EXPECT_THAT(hosts.all(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
