#include "bridge/ProcessList.h"

#include <gtest/gtest.h>

#include <string>

namespace quillbay {
namespace {

using IDs = std::vector<std::int32_t>;

IDs all(std::string_view list) {
    return ProcessList::proxyRegistrations(list, [](std::string_view) { return true; });
}

IDs containing(std::string_view list, std::string_view part) {
    return ProcessList::proxyRegistrations(
        list, [part](std::string_view line) { return line.find(part) != std::string_view::npos; });
}

TEST(ProcessList, finds_the_id_of_an_indented_line) {
    EXPECT_EQ(all("  4711 /usr/bin/dns-sd -P Name _t._tcp local 1 h 1.2.3.4\n"), IDs{4711});
}

TEST(ProcessList, finds_a_registration_on_one_interface) {
    EXPECT_EQ(all("12 /usr/bin/dns-sd -i en0 -P Name _t._tcp local 1 h 1.2.3.4\n"), IDs{12});
}

TEST(ProcessList, never_takes_a_browse_or_a_zone_dump) {
    EXPECT_EQ(all("  10 /usr/bin/dns-sd -B _t._tcp local\n  11 /usr/bin/dns-sd -Z _t._tcp local\n"), IDs{});
}

TEST(ProcessList, never_takes_another_program) {
    EXPECT_EQ(all("  10 /usr/bin/scp -P 22 a b\n"), IDs{});
}

TEST(ProcessList, shows_the_predicate_the_line_without_the_blanks_around_it) {
    std::string seen;
    ProcessList::proxyRegistrations(" \t 7 dns-sd -P a  b \r\n", [&](std::string_view line) {
        seen = line;
        return false;
    });
    EXPECT_EQ(seen, "7 dns-sd -P a  b");
}

TEST(ProcessList, takes_an_instance_name_as_a_part_of_the_line) {
    const char* const list =
        "1001 /usr/bin/dns-sd -i en0 -P Phone 2 _t._tcp local 1 h 1.2.3.4\n"
        "1002 /usr/bin/dns-sd -i en0 -P Tablet _t._tcp local 1 h 1.2.3.4\n"
        "1003 /usr/bin/dns-sd -i en0 -P Phone _t._tcp local 1 h 1.2.3.4\n";
    EXPECT_EQ(containing(list, "Phone"), (IDs{1001, 1003}));
    EXPECT_EQ(containing(list, "Phone 2"), IDs{1001});
    EXPECT_EQ(containing(list, "Watch"), IDs{});
}

TEST(ProcessList, keeps_the_order_of_the_list) {
    EXPECT_EQ(all("30 dns-sd -P c\n10 dns-sd -P a\n20 dns-sd -P b"), (IDs{30, 10, 20}));
}

TEST(ProcessList, skips_lines_without_an_id) {
    EXPECT_EQ(all("dns-sd -P\nx1 dns-sd -P\n1x dns-sd -P\n1.5 dns-sd -P\n2147483648 dns-sd -P\n\n   \n5 "
                  "dns-sd -P\n"),
              IDs{5});
}

TEST(ProcessList, takes_the_largest_id) {
    EXPECT_EQ(all("2147483647 dns-sd -P"), IDs{2147483647});
}

TEST(ProcessList, never_takes_a_number_that_would_signal_a_group) {
    EXPECT_EQ(all("0 dns-sd -P\n-1 dns-sd -P\n-4711 dns-sd -P\n"), IDs{});
}

TEST(ProcessList, is_empty_for_text_that_is_not_utf8) {
    EXPECT_EQ(all("5 dns-sd -P \xFF\n6 dns-sd -P\n"), IDs{});
}

TEST(ProcessList, reads_names_in_other_scripts) {
    EXPECT_EQ(containing("5 dns-sd -P Zoë’s 📱 _t._tcp\n", "Zoë’s 📱"), IDs{5});
}

TEST(ProcessList, takes_only_the_first_space_for_the_end_of_the_id) {
    EXPECT_EQ(ProcessList::processID("4711 x"), 4711);
    EXPECT_EQ(ProcessList::processID("4711\tx y"), std::nullopt);
    EXPECT_EQ(ProcessList::processID("4711"), std::nullopt);
    EXPECT_EQ(ProcessList::processID(" 4711 x"), std::nullopt);
    EXPECT_EQ(ProcessList::processID(""), std::nullopt);
}

TEST(ProcessList, words_the_message_about_two_leftovers) {
    EXPECT_EQ(ProcessList::clearedMessage({101, 202}),
              "Cleared 2 leftover Bonjour proxy registration(s) from a previous launch (pid 101, 202).");
}

}  // namespace
}  // namespace quillbay
