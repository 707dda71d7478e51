#include "dns-sd/ZoneText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/Utf8.h"

namespace quillbay::dnssd {
namespace {

using namespace std::string_literals;

TEST(ZoneText, leaves_plain_names_alone) {
    EXPECT_EQ(ZoneText::escapedLabel("iPhone-7_x"), "iPhone-7_x");
}

TEST(ZoneText, escapes_blanks_dots_and_backslashes_in_names) {
    EXPECT_EQ(ZoneText::escapedLabel("Bob's i.Phone\\ (2)"), "Bob's\\032i\\.Phone\\\\\\032(2)");
}

TEST(ZoneText, leaves_quotes_and_other_scripts_in_names) {
    EXPECT_EQ(ZoneText::escapedLabel("\"é\"日本📱"), "\"é\"日本📱");
}

TEST(ZoneText, writes_control_characters_of_names_as_numbers) {
    EXPECT_EQ(ZoneText::escapedLabel("a\n\r\t\0\x1B\x7F"s + "b"), "a\\010\\013\\009\\000\\027\\127b");
}

TEST(ZoneText, writes_every_other_line_break_as_numbers) {
    EXPECT_EQ(ZoneText::escapedLabel("a\u0085b\u2028c\u2029d"),
              "a\\194\\133b\\226\\128\\168c\\226\\128\\169d");
}

TEST(ZoneText, writes_bytes_that_are_not_utf8_as_numbers) {
    EXPECT_EQ(ZoneText::escapedLabel("a\xFF\xC3"), "a\\255\\195");
    EXPECT_EQ(ZoneText::escapedLabel("\xC0\xAF"), "\\192\\175");
    EXPECT_EQ(ZoneText::escapedLabel("\xED\xA0\x80"), "\\237\\160\\128");
    EXPECT_EQ(ZoneText::escapedLabel("\xF4\x90\x80\x80"), "\\244\\144\\128\\128");
    EXPECT_EQ(ZoneText::escapedLabel("\xE6\x97z"), "\\230\\151z");
}

TEST(ZoneText, ends_every_label_of_a_name_with_a_dot) {
    EXPECT_EQ(ZoneText::escapedName({"my phone", "local"}), "my\\032phone.local.");
    EXPECT_EQ(ZoneText::escapedName({}), ".");
}

TEST(ZoneText, quotes_strings_and_keeps_their_blanks) {
    EXPECT_EQ(ZoneText::quotedString("a=b = c"), "\"a=b = c\"");
    EXPECT_EQ(ZoneText::quotedString(""), "\"\"");
    EXPECT_EQ(ZoneText::quotedString("é📱."), "\"é📱.\"");
}

TEST(ZoneText, escapes_quotes_and_backslashes_in_strings) {
    EXPECT_EQ(ZoneText::quotedString("a=\"\\\""), R"("a=\"\\\"")");
}

TEST(ZoneText, writes_line_feeds_of_strings_as_numbers) {
    EXPECT_EQ(ZoneText::quotedString("a=\nX._t._tcp SRV 0 0 1 h."), R"("a=\010X._t._tcp SRV 0 0 1 h.")");
    EXPECT_EQ(ZoneText::quotedString("a=\0\xFF"s), R"("a=\000\255")");
}

TEST(ZoneText, prints_the_three_lines_of_an_instance_in_columns) {
    const SRVRecord service{0, 0, 49152, {"iPhone", "local"}};
    EXPECT_EQ(ZoneText::instanceLines("_remotepairing._tcp", "Phone", service, {"ver=19", "a="}),
              "_remotepairing._tcp                             PTR     Phone._remotepairing._tcp\n"
              "Phone._remotepairing._tcp                       SRV     0 0 49152 iPhone.local. ; Replace "
              "with unicast "
              "FQDN of target host\n"
              "Phone._remotepairing._tcp                       TXT     \"ver=19\" \"a=\"\n");
}

TEST(ZoneText, keeps_a_blank_after_a_name_wider_than_its_column) {
    const SRVRecord service{7, 8, 1, {"h"}};
    const std::string name(63, 'n');
    EXPECT_EQ(ZoneText::instanceLines("_t._tcp", name, service, {}),
              "_t._tcp                                         PTR     " + name + "._t._tcp\n" + name +
                  "._t._tcp SRV     0 0 1 h. ; Replace with unicast FQDN of target host\n" + name +
                  "._t._tcp TXT     \"\"\n");
}

TEST(ZoneText, prints_three_lines_of_valid_text_whatever_the_bytes) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string foreign = "a" + std::string(1, static_cast<char>(byte)) + "b";
        const SRVRecord service{0, 0, 1, {foreign}};
        const std::string lines = ZoneText::instanceLines("_t._tcp", foreign, service, {foreign, foreign});
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3) << byte;
        EXPECT_TRUE(isValidUtf8(lines)) << byte;
        EXPECT_TRUE(std::all_of(lines.begin(), lines.end(), [](char c) {
            return c == '\n' || static_cast<unsigned char>(c) >= 0x20;
        })) << byte;
    }
}

}  // namespace
}  // namespace quillbay::dnssd
