#include "platform/NetworkInterfaces.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <array>

#include "platform/ForkedChild.h"

namespace quillbay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void inEmptyNetwork(const std::function<void()>& body) {
    inChild([&body] {
        enterNamespaces(CLONE_NEWNET);
        body();
    });
}

void waitForLink(const std::string& name, const std::string& pattern) {
    shell("for i in $(seq 1000); do ip link show " + name + " | grep -q '" + pattern +
          "' && exit 0; sleep 0.01; done; exit 1");
}

std::vector<std::string> printed(const std::vector<in_addr>& addresses) {
    std::vector<std::string> texts;
    for (const in_addr& address : addresses) {
        std::array<char, INET_ADDRSTRLEN> text{};
        texts.emplace_back(::inet_ntop(AF_INET, &address, text.data(), text.size()));
    }
    return texts;
}

TEST(NetworkInterfaces, an_interface_without_addresses_gives_none) {
    inEmptyNetwork([] {
        EXPECT_EQ(currentIPv4Address("en0"), std::nullopt);
        addInterface("en0");
        EXPECT_EQ(currentIPv4Address("en0"), std::nullopt);
    });
}

TEST(NetworkInterfaces, an_interface_with_only_IPv6_addresses_gives_none) {
    inEmptyNetwork([] {
        addInterface("en0");
        shell("ip link set en0 up && ip addr add fd77::1/64 dev en0");
        shell("ip -6 addr show dev en0 | grep -q fd77::1");
        EXPECT_EQ(currentIPv4Address("en0"), std::nullopt);
        shell("ip addr add 192.168.77.1/24 dev en0");
        EXPECT_EQ(currentIPv4Address("en0"), "192.168.77.1");
    });
}

TEST(NetworkInterfaces, the_name_is_matched_exactly) {
    inEmptyNetwork([] {
        for (const char* name : {"en", "en0x", "EN0"})
            addInterface(name);
        shell(
            "ip addr add 10.0.0.1/24 dev en && ip addr add 10.0.1.1/24 dev en0x && ip addr add 10.0.2.1/24 "
            "dev EN0");
        EXPECT_EQ(currentIPv4Address("en0"), std::nullopt);
        EXPECT_EQ(currentIPv4Address("en0x"), "10.0.1.1");
        EXPECT_EQ(currentIPv4Address("en"), "10.0.0.1");
        EXPECT_EQ(currentIPv4Address(""), std::nullopt);
    });
}

TEST(NetworkInterfaces, the_first_of_several_addresses_counts_and_a_change_is_seen) {
    inEmptyNetwork([] {
        addInterface("en0");
        shell("ip link set en0 up");
        shell("ip addr add 192.168.77.1/24 dev en0 && ip addr add 192.168.78.1/24 dev en0");
        EXPECT_EQ(currentIPv4Address("en0"), "192.168.77.1");
        shell("ip addr del 192.168.77.1/24 dev en0");
        EXPECT_EQ(currentIPv4Address("en0"), "192.168.78.1");
        shell("ip addr del 192.168.78.1/24 dev en0");
        EXPECT_EQ(currentIPv4Address("en0"), std::nullopt);
    });
}

TEST(NetworkInterfaces, multicast_needs_up_running_multicast_and_no_loopback) {
    inEmptyNetwork([] {
        EXPECT_THAT(multicastIPv4Addresses(), IsEmpty());
        shell("ip addr add 127.0.0.2/8 dev lo && ip link set lo multicast on up");
        addInterface("good");
        shell(
            "ip addr add 10.0.0.1/24 dev good && ip addr add 10.0.9.1/24 dev "
            "good"
            " && ip link set good multicast on up");
        addInterface("mute");
        shell(
            "ip addr add 10.0.1.1/24 dev mute && ip link set mute multicast "
            "off up");
        addInterface("shut");
        shell(
            "ip addr add 10.0.2.1/24 dev shut && ip link set shut multicast "
            "on");
        shell(
            "ip link add idle type veth peer name other && ip addr add 10.0.3.1/24 dev idle && ip link set "
            "idle up");
        addInterface("last");
        shell(
            "ip addr add 10.0.4.1/24 dev last && ip link set last multicast "
            "on up");
        // The system works out a little later which of them are running.
        for (const char* running : {"good", "mute", "last"})
            waitForLink(running, "state UP");
        waitForLink("idle", "NO-CARRIER.* state [A-Z]*DOWN");
        EXPECT_THAT(printed(multicastIPv4Addresses()), ElementsAre("10.0.0.1", "10.0.9.1", "10.0.4.1"));
    });
}

TEST(NetworkInterfaces, the_local_interface_is_en0_where_there_is_one) {
    inEmptyNetwork([] {
        addInterface("lan0");
        shell("ip addr add 10.0.0.1/24 dev lan0 && ip link set lan0 up");
        shell("ip route add default via 10.0.0.254 dev lan0");
        addInterface("en0");
        EXPECT_EQ(localInterfaceName(), "en0");
        shell("ip link del en0");
        EXPECT_EQ(localInterfaceName(), "lan0");
    });
}

TEST(NetworkInterfaces, the_local_interface_is_else_that_of_the_cheapest_default_route) {
    inEmptyNetwork([] {
        EXPECT_EQ(localInterfaceName(), "en0");
        for (const char* name : {"wifi", "cable", "mesh0"})
            addInterface(name);
        shell(
            "ip addr add 10.0.0.1/24 dev wifi && ip addr add 10.0.1.1/24 dev cable && ip addr add "
            "100.64.0.1/10 dev mesh0");
        shell("ip link set wifi up && ip link set cable up && ip link set mesh0 up");
        EXPECT_EQ(localInterfaceName(), "en0");
        shell("ip route add 192.168.0.0/16 via 100.64.0.2 dev mesh0");
        EXPECT_EQ(localInterfaceName(), "en0");
        shell("ip route add default via 10.0.0.254 dev wifi metric 600");
        EXPECT_EQ(localInterfaceName(), "wifi");
        shell("ip route add default via 10.0.1.254 dev cable metric 100");
        EXPECT_EQ(localInterfaceName(), "cable");
        shell("ip route add unreachable default metric 1");
        EXPECT_EQ(localInterfaceName(), "cable");
        shell("ip route add default dev mesh0 table 52 && ip rule add table 52");
        EXPECT_EQ(localInterfaceName(), "cable");
        shell("ip link set cable down");
        EXPECT_EQ(localInterfaceName(), "wifi");
        shell("ip route flush table main");
        EXPECT_EQ(localInterfaceName(), "en0");
    });
}

}  // namespace
}  // namespace quillbay
