#include "discovery/ZoneDumpLine.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

using Tokens = std::vector<std::string_view>;
using Entries = std::map<std::string, std::string>;

constexpr const char* type = "_remotepairing._tcp";

TEST(ZoneDumpLine, is_cut_at_blanks_into_the_name_the_kind_and_all_words) {
    const auto line =
        parseZoneDumpLine("iPhone._remotepairing._tcp   SRV     0 0 49152 far.local. ; x", type);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->recordName, "iPhone");
    EXPECT_EQ(line->kind, "SRV");
    EXPECT_EQ(line->tokens,
              (Tokens{"iPhone._remotepairing._tcp", "SRV", "0", "0", "49152", "far.local.", ";", "x"}));
}

TEST(ZoneDumpLine, may_begin_and_end_with_blanks) {
    const auto line = parseZoneDumpLine("  a._remotepairing._tcp TXT  ", type);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->recordName, "a");
    EXPECT_EQ(line->kind, "TXT");
    EXPECT_EQ(line->tokens.size(), 2U);
}

TEST(ZoneDumpLine, may_be_of_a_name_with_dots_or_with_nothing_before_the_type) {
    EXPECT_EQ(parseZoneDumpLine("a.b._remotepairing._tcp SRV", type)->recordName, "a.b");
    EXPECT_EQ(parseZoneDumpLine("_remotepairing._tcp._remotepairing._tcp SRV", type)->recordName,
              "_remotepairing._tcp");
    EXPECT_EQ(parseZoneDumpLine("._remotepairing._tcp SRV", type)->recordName, "");
}

TEST(ZoneDumpLine, is_none_of_the_other_lines_of_a_dump) {
    for (const char* line :
         {"", " ", "   ", "a._remotepairing._tcp", "; To direct clients to browse a different domain",
          "lb._dns-sd._udp                                 PTR     @",
          "_remotepairing._tcp                             PTR     iPhone._remotepairing._tcp",
          "a._other._tcp SRV 0 0 1 h.", "a_remotepairing._tcp SRV 0 0 1 h.",
          "a._remotepairing._tcp. SRV 0 0 1 h.", "a._remotepairing._tcp.local SRV 0 0 1 h.",
          "a._remotepairing._TCP SRV 0 0 1 h.", "a._remotepairing._tcp\tSRV\t0\t0\t1\th."})
        EXPECT_FALSE(parseZoneDumpLine(line, type)) << line;
}

TEST(ZoneDumpSRVWords, are_the_port_and_the_host_without_one_final_dot) {
    EXPECT_EQ(parseSRV({"r", "SRV", "0", "0", "49152", "far.local."}), (ZoneDumpSRV{"far.local", 49152}));
    EXPECT_EQ(parseSRV({"r", "SRV", "9", "x", "1", "far.local..", ";", "y"}), (ZoneDumpSRV{"far.local.", 1}));
    EXPECT_EQ(parseSRV({"r", "SRV", "0", "0", "0", "h"}), (ZoneDumpSRV{"h", 0}));
}

TEST(ZoneDumpSRVWords, may_have_a_plus_sign_and_zeros_before_the_port) {
    EXPECT_EQ(parseSRV({"r", "SRV", "0", "0", "+49152", "h"}), (ZoneDumpSRV{"h", 49152}));
    EXPECT_EQ(parseSRV({"r", "SRV", "0", "0", "0000000065535", "h"}), (ZoneDumpSRV{"h", 65535}));
}

TEST(ZoneDumpSRVWords, are_nothing_when_the_port_is_no_number_of_16_bits) {
    for (const char* port : {"65536", "-1", "-0", "+", "++1", "+-1", "", "x", "1x", "1.0", "0x10", "٣",
                             "99999999999999999999999999", "18446744073709551617"})
        EXPECT_FALSE(parseSRV({"r", "SRV", "0", "0", port, "h"})) << port;
}

TEST(ZoneDumpSRVWords, are_nothing_without_a_host) {
    EXPECT_FALSE(parseSRV({"r", "SRV", "0", "0", "1"}));
    EXPECT_FALSE(parseSRV({"r", "SRV", "0", "0", "1", "."}));
    EXPECT_FALSE(parseSRV({}));
}

TEST(ZoneDumpTXTWords, are_keys_and_values_without_their_quotes) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"identifier=ABC\"", "\"ver=19\""}),
              (Entries{{"identifier", "ABC"}, {"ver", "19"}}));
    EXPECT_EQ(parseTXT({"r", "TXT", "a=1", "\"b=2", "c=3\""}), (Entries{{"a", "1"}, {"b", "2"}, {"c", "3"}}));
}

TEST(ZoneDumpTXTWords, are_cut_at_their_first_equals_sign) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"a=b=c==\"", "\"k=\"", "\"=x\""}),
              (Entries{{"a", "b=c=="}, {"k", ""}, {"", "x"}}));
}

TEST(ZoneDumpTXTWords, lose_one_quote_at_each_end_and_no_more) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"\"a=b\"\""}), (Entries{{"\"a", "b\""}}));
    EXPECT_EQ(parseTXT({"r", "TXT", "\"q=\\\"x\\\"\""}), (Entries{{"q", "\\\"x\\\""}}));
}

TEST(ZoneDumpTXTWords, are_left_out_without_an_equals_sign) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"flag\"", "\"", "\"\"", "\"a=1\""}), (Entries{{"a", "1"}}));
}

TEST(ZoneDumpTXTWords, count_by_the_last_of_one_key) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"a=1\"", "\"a=2\"", "\"A=3\""}), (Entries{{"a", "2"}, {"A", "3"}}));
}

TEST(ZoneDumpTXTWords, of_a_string_with_blanks_are_read_each_for_itself) {
    EXPECT_EQ(parseTXT({"r", "TXT", "\"name=Bob's", "big", "x=1", "iPhone\""}),
              (Entries{{"name", "Bob's"}, {"x", "1"}}));
}

TEST(ZoneDumpTXTWords, are_an_empty_map_when_there_are_none) {
    EXPECT_EQ(parseTXT({"r", "TXT"}), Entries{});
    EXPECT_EQ(parseTXT({}), Entries{});
}

TEST(LooksLikeHostname, refuses_addresses_and_scopes) {
    for (const char* host : {"192.168.77.2", "0.0.0.0", "255.255.255.255", "fe80::1", "::", "::1",
                             "::ffff:1.2.3.4", "fe80::1%en0", "phone%en0.local", "%"})
        EXPECT_FALSE(looksLikeHostname(host)) << host;
}

TEST(LooksLikeHostname, takes_everything_else) {
    for (const char* host : {"phone.local", "1.2.3", "1.2.3.256", "1.2.3.4.5", "1.2.3.4.local", "12345",
                             ":::1", "beef", "📱.local", "h\\010x.local"})
        EXPECT_TRUE(looksLikeHostname(host)) << host;
}

}  // namespace
}  // namespace quillbay
