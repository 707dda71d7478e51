#include "platform/linux/RouteTable.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

constexpr const char* heading =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";

TEST(RouteTable, without_a_default_route_names_nothing) {
    EXPECT_EQ(defaultRouteInterface(""), std::nullopt);
    EXPECT_EQ(defaultRouteInterface(heading), std::nullopt);
    EXPECT_EQ(defaultRouteInterface(std::string(heading) +
                                    "eth0\t004DA8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
                                    "vpn0\t00000000\t00000000\t0001\t0\t0\t0\t00000080\t0\t0\t0\n"),
              std::nullopt);
}

TEST(RouteTable, the_lowest_metric_wins_and_the_first_of_equals) {
    EXPECT_EQ(defaultRouteInterface(std::string(heading) +
                                    "wlan0\t00000000\t014DA8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
                                    "eth0\t00000000\t014EA8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
                                    "eth1\t00000000\t014FA8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"),
              "eth0");
    // As numbers, not as texts.
    EXPECT_EQ(defaultRouteInterface("a\t00000000\t0\t0003\t0\t0\t1000\t00000000\n"
                                    "b\t00000000\t0\t0003\t0\t0\t99\t00000000\n"),
              "b");
}

TEST(RouteTable, routes_that_are_down_or_refuse_do_not_count) {
    EXPECT_EQ(defaultRouteInterface("*\t00000000\t00000000\t0201\t0\t0\t1\t00000000\t0\t0\t0\n"
                                    "eth0\t00000000\t014EA8C0\t0002\t0\t0\t2\t00000000\t0\t0\t0\n"
                                    "eth1\t00000000\t014EA8C0\t0003\t0\t0\t3\t00000000\t0\t0\t0\n"),
              "eth1");
}

TEST(RouteTable, lines_of_another_form_are_passed_over) {
    EXPECT_EQ(defaultRouteInterface("\n\n \t\neth0\neth0\t00000000\n"
                                    "eth1\t00000000\t0\t3\t0\t0\tx\t00000000\n"
                                    "eth2\t00000000\t0\t3\t0\t0\t99999999999\t00000000\n"
                                    "eth3\t00000000\t0\t-3\t0\t0\t0\t00000000\n"
                                    "eth4   00000000 0 3 0 0 7 00000000"),
              "eth4");
    EXPECT_EQ(defaultRouteInterface(std::string(1'000'000, 'x')), std::nullopt);
}

}  // namespace
}  // namespace quillbay
