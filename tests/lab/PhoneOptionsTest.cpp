#include "phone/PhoneOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

using testing::ElementsAre;

TEST(PortList, reads_single_ports_and_ranges_in_their_order) {
    EXPECT_THAT(parsePortList("57000,55000-55002"), ElementsAre(57000, 55000, 55001, 55002));
    EXPECT_THAT(parsePortList("65535-65535"), ElementsAre(65535));
}

TEST(PortList, takes_nothing_else) {
    for (const char* text : {"", ",", "1-", "-1", "2-1", "0", "1-2-3", "70000", "1,,2", "1-65535"}) {
        EXPECT_THROW(parsePortList(text), OptionError) << text;
    }
}

TEST(PortList, has_a_bound_over_all_its_parts) {
    EXPECT_EQ(parsePortList("1-4096").size(), 4096u);
    EXPECT_THROW(parsePortList("1-4096,5000"), OptionError);
}

TEST(PhoneOptions, keeps_txt_strings_byte_for_byte_and_in_order) {
    const auto options = parsePhoneOptions({"--txt", "b=\x01\xFF =", "--txt", "a", "--port", "50000"});
    EXPECT_THAT(options.txt, ElementsAre("b=\x01\xFF =", "a"));
    EXPECT_EQ(options.pairingPort, 50000);
}

TEST(PhoneOptions, refuses_what_it_does_not_understand) {
    EXPECT_THROW(parsePhoneOptions({"--colour", "blue"}), OptionError);
    EXPECT_THROW(parsePhoneOptions({"--name"}), OptionError);
    EXPECT_THROW(parsePhoneOptions({"--txt", std::string(256, 'x')}), OptionError);
    EXPECT_THROW(parsePhoneOptions({"--host", "a.local"}), OptionError);
}

}  // namespace

}  // namespace quillbay::lab
