#include "bridge/RelayAccess.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/Sockets.h"

namespace quillbay {
namespace {

using Kind = RelayAccess::Kind;

in_addr address(const char* text) {
    return ipv4Endpoint(text, 0).sin_addr;
}

const in_addr relay = address("192.168.77.1");

TEST(RelayAccess, everybody_is_admitted_at_first) {
    RelayAccess access;
    EXPECT_FALSE(access.onlyThisComputer());
    EXPECT_TRUE(access.admits(Kind::connection, address("192.168.77.3"), relay));
    EXPECT_TRUE(access.admits(Kind::datagram, address("8.8.8.8"), relay));
    EXPECT_EQ(access.refused().total(), 0U);
    EXPECT_EQ(access.refused().lastSource, "");
}

TEST(RelayAccess, the_relays_own_address_and_loopback_are_this_computer) {
    RelayAccess access;
    access.setOnlyThisComputer(true);
    for (const char* own : {"192.168.77.1", "127.0.0.1", "127.255.255.254"})
        EXPECT_TRUE(access.admits(Kind::connection, address(own), relay)) << own;
    for (const char* other : {"192.168.77.2", "126.255.255.255", "128.0.0.0", "1.77.168.192", "0.0.0.0"})
        EXPECT_FALSE(access.admits(Kind::connection, address(other), relay)) << other;
}

TEST(RelayAccess, counts_what_it_refuses_by_kind_and_knows_the_last) {
    RelayAccess access;
    access.setOnlyThisComputer(true);
    access.admits(Kind::connection, address("192.168.77.3"), relay);
    access.admits(Kind::datagram, address("192.168.77.4"), relay);
    access.admits(Kind::datagram, address("192.168.77.5"), relay);
    access.admits(Kind::datagram, address("192.168.77.1"), relay);
    EXPECT_FALSE(access.mayUse(address("192.168.77.6"), relay));
    EXPECT_EQ(access.refused().connections, 1U);
    EXPECT_EQ(access.refused().datagrams, 2U);
    EXPECT_EQ(access.refused().lastSource, "192.168.77.5");
}

TEST(RelayAccess, tells_of_one_refusal_until_it_is_asked_again) {
    RelayAccess access;
    access.setOnlyThisComputer(true);
    int told = 0;
    const auto refuse = [&] { access.admits(Kind::datagram, address("192.168.77.3"), relay); };
    access.tellNextRefusal([&] { ++told; });
    EXPECT_EQ(told, 0);
    refuse();
    refuse();
    EXPECT_EQ(told, 1);
    access.tellNextRefusal([&] { ++told; });
    access.tellNextRefusal({});
    refuse();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(access.refused().datagrams, 3U);
}

}  // namespace
}  // namespace quillbay
