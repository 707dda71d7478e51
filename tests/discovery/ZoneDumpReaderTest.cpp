// Long, but one thing: what text in gives which services and which lines out.

#include "discovery/ZoneDumpReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Entries = std::map<std::string, std::string>;
using Time = std::chrono::system_clock::time_point;

const std::string type = "_remotepairing._tcp";

std::string srvLine(const std::string& name, const std::string& host, int port = 49152) {
    return name + "." + type + "     SRV     0 0 " + std::to_string(port) + " " + host +
           ". ; Replace with unicast FQDN of target host\n";
}

std::string txtLine(const std::string& name, const std::string& strings) {
    return name + "." + type + "     TXT     " + strings + "\n";
}

class ZoneDumpReaderTest : public ::testing::Test {
 protected:
    /// The services that the text gives; the lines for the log are added to `log`.
    std::vector<CapturedBonjourService> read(const std::string& text) {
        auto output = reader.consume(text, now, proxyHosts);
        log.insert(log.end(), output.logLines.begin(), output.logLines.end());
        return output.services;
    }

    std::vector<std::string> hosts(const std::string& text) {
        std::vector<std::string> found;
        for (const auto& service : read(text))
            found.push_back(service.host);
        return found;
    }

    void proxy(const std::set<std::string>& lowerCaseHosts) {
        proxyHosts = [lowerCaseHosts] { return lowerCaseHosts; };
    }

    ZoneDumpReader reader{type, "local"};
    ZoneDumpReader::ProxyHosts proxyHosts;
    std::vector<std::string> log;
    Time now{std::chrono::seconds(1'700'000'000)};
};

TEST_F(ZoneDumpReaderTest, reads_what_the_bundled_tool_prints) {
    const auto services = read(
        "_remotepairing._tcp                             PTR     iPhone._remotepairing._tcp\n"
        "iPhone._remotepairing._tcp                      SRV     0 0 49152 far.local. ; "
        "Replace with unicast FQDN of target host\n"
        "iPhone._remotepairing._tcp                      TXT     \"z=1\" \"a=2 3\"\n");
    const CapturedBonjourService expected{
        "iPhone", type, "local", "far.local", 49152, {{"z", "1"}, {"a", "2"}}, now, std::nullopt};
    EXPECT_THAT(services, ElementsAre(expected));
    EXPECT_EQ(services[0].id(), "far.local");
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ZoneDumpReaderTest, reads_a_dump_with_a_heading_and_a_line_for_browsing) {
    EXPECT_THAT(
        hosts("Browsing for _remotepairing._tcp.local\n"
              "DATE: ---Fri 20 Nov 2026---\n"
              "14:05:09.123  ...STARTING...\n\n"
              "; To direct clients to browse a different domain, substitute that domain in place of '@'\n"
              "lb._dns-sd._udp                                 PTR     @\n\n"
              "_remotepairing._tcp                             PTR     5D3A8B01F7E2._remotepairing._tcp\n"
              "5D3A8B01F7E2._remotepairing._tcp                SRV     0 0 49152 Robins-iPhone.local. ; "
              "Replace with unicast FQDN of target host\n"
              "5D3A8B01F7E2._remotepairing._tcp                TXT     \"identifier=A\" \"flags=0\"\n"),
        ElementsAre("Robins-iPhone.local"));
}

TEST_F(ZoneDumpReaderTest, a_line_split_across_two_chunks_is_parsed_once_when_its_newline_arrives) {
    EXPECT_THAT(hosts("a._remotepairing._tcp SRV 0 0 1 ph"), IsEmpty());
    EXPECT_THAT(hosts("one.local."), IsEmpty());
    EXPECT_THAT(hosts("\n"), ElementsAre("phone.local"));
    EXPECT_THAT(hosts("\n"), IsEmpty());
}

TEST_F(ZoneDumpReaderTest, a_renamed_target_of_a_host_that_this_computer_proxies_is_a_self_loop) {
    proxy({"iphone.local"});
    EXPECT_THAT(hosts(srvLine("a", "iPhone-2.local")), IsEmpty());
    EXPECT_THAT(log, ElementsAre("Bonjour: ignoring _remotepairing._tcp record a — host \"iPhone-2.local\" "
                                 "matches this Mac's own active proxy registration for \"iPhone.local\" — "
                                 "self-loop, not a real device."));
}

TEST_F(ZoneDumpReaderTest, a_renamed_target_without_such_a_proxy_is_published_under_its_own_name) {
    proxy({"other.local"});
    EXPECT_THAT(hosts(srvLine("a", "iPhone-2.local")), ElementsAre("iPhone.local"));
    EXPECT_THAT(log,
                ElementsAre("Bonjour: _remotepairing._tcp record a — host \"iPhone-2.local\" lost a naming "
                            "conflict — recovered as \"iPhone.local\"."));
}

TEST_F(ZoneDumpReaderTest, a_target_that_this_computer_proxies_is_a_self_loop_without_a_new_name_too) {
    proxy({"iphone.local"});
    EXPECT_THAT(hosts(srvLine("a", "iPhone.local")), IsEmpty());
    EXPECT_THAT(log, ElementsAre("Bonjour: ignoring _remotepairing._tcp record a — host \"iPhone.local\" "
                                 "matches this Mac's own active proxy registration for \"iPhone.local\" — "
                                 "self-loop, not a real device."));
}

TEST_F(ZoneDumpReaderTest, a_proxied_host_whose_name_ends_in_a_number_is_a_self_loop) {
    proxy({"iphone-12.local"});
    EXPECT_THAT(hosts(srvLine("a", "iPhone-12.local") + srvLine("b", "iPhone.local")),
                ElementsAre("iPhone.local"));
    EXPECT_THAT(log,
                ElementsAre(HasSubstr("record a — host \"iPhone-12.local\" matches this Mac's own active "
                                      "proxy registration for \"iPhone-12.local\"")));
}

TEST_F(ZoneDumpReaderTest, a_self_loop_is_published_once_the_proxy_has_gone) {
    proxy({"iphone.local"});
    EXPECT_THAT(hosts(srvLine("a", "iPhone.local")), IsEmpty());
    proxy({});
    EXPECT_THAT(hosts(srvLine("a", "iPhone.local")), ElementsAre("iPhone.local"));
}

TEST_F(ZoneDumpReaderTest, a_suffix_of_10_is_a_conflict_and_1_and_0_are_none) {
    EXPECT_THAT(hosts(srvLine("a", "host-10.local") + srvLine("b", "host-1.local") +
                      srvLine("c", "host-0.local") + srvLine("d", "host-02.local")),
                ElementsAre("host.local", "host-1.local", "host-0.local", "host-02.local"));
}

TEST_F(ZoneDumpReaderTest, a_target_that_is_nothing_but_a_suffix_is_not_published_without_a_name) {
    EXPECT_THAT(hosts(srvLine("a", "-2") + srvLine("b", "-3.local")), ElementsAre("-2", "-3.local"));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ZoneDumpReaderTest, a_txt_line_before_its_srv_line_publishes_nothing_until_that_comes) {
    EXPECT_THAT(read(txtLine("a", "\"ver=19\"")), IsEmpty());
    const auto services = read(srvLine("a", "h.local"));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, (Entries{{"ver", "19"}}));
}

TEST_F(ZoneDumpReaderTest, an_srv_line_without_a_txt_line_publishes_no_entries) {
    const auto services = read(srvLine("a", "h.local"));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, Entries{});
    ASSERT_EQ(read(txtLine("a", "\"k=v\"")).size(), 1U);
}

TEST_F(ZoneDumpReaderTest, every_later_line_publishes_again_with_the_newest_of_both_and_the_time) {
    read(srvLine("a", "h.local", 1) + txtLine("a", "\"k=1\""));
    now += std::chrono::seconds(7);
    auto services = read(srvLine("a", "h.local", 1));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].lastSeen, now);
    EXPECT_EQ(services[0].txt, (Entries{{"k", "1"}}));
    services = read(txtLine("a", "\"k=2\""));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, (Entries{{"k", "2"}}));
    services = read(srvLine("a", "h.local", 2));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].port, 2);
}

TEST_F(ZoneDumpReaderTest, an_unusable_srv_line_changes_nothing) {
    read(srvLine("a", "h.local", 1));
    EXPECT_THAT(read(srvLine("a", "other.local", 65536) + srvLine("a", "other.local", -1) +
                     "a._remotepairing._tcp SRV 0 0 5\n" + "a._remotepairing._tcp SRV 0 0 5 .\n" +
                     "a._remotepairing._tcp AAAA fe80::1\n"),
                IsEmpty());
    EXPECT_THAT(hosts(txtLine("a", "\"k=1\"")), ElementsAre("h.local"));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ZoneDumpReaderTest, a_target_that_is_an_address_is_left_out_in_silence) {
    EXPECT_THAT(read(srvLine("a", "192.168.77.2") + srvLine("b", "fe80::1") + srvLine("c", "fe80::1%en0")),
                IsEmpty());
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ZoneDumpReaderTest, a_name_with_a_backslash_was_renamed_and_is_rejected_once) {
    EXPECT_THAT(read(srvLine("iPhone\\032(2)", "h.local")), IsEmpty());
    EXPECT_THAT(read(srvLine("iPhone\\032(2)", "h.local") + txtLine("iPhone\\032(2)", "\"k=v\"")), IsEmpty());
    EXPECT_THAT(log,
                ElementsAre("Bonjour: ignoring _remotepairing._tcp record iPhone\\032(2) — instance name "
                            "lost a naming conflict and was auto-renamed."));
}

TEST_F(ZoneDumpReaderTest, lines_of_one_instance_in_one_chunk_publish_it_once_in_the_order_of_the_last) {
    const auto services =
        read(srvLine("a", "same.local", 1) + srvLine("b", "same.local", 2) + txtLine("a", "\"k=v\"") +
             srvLine("c", "c.local", 4) + srvLine("a", "same.local", 3));
    ASSERT_EQ(services.size(), 3U);
    // Of two with one host, its owner keeps the later.
    EXPECT_EQ(services[0].port, 2);
    EXPECT_EQ(services[1].port, 4);
    EXPECT_EQ(services[2].port, 3);
    EXPECT_EQ(services[2].txt, (Entries{{"k", "v"}}));
}

TEST_F(ZoneDumpReaderTest, the_proxies_are_asked_for_once_in_a_chunk_and_only_when_something_came) {
    int asked = 0;
    proxyHosts = [&asked] {
        ++asked;
        return std::set<std::string>();
    };
    read("noise\n_remotepairing._tcp PTR a._remotepairing._tcp\n");
    EXPECT_EQ(asked, 0);
    read(srvLine("a", "a.local") + srvLine("b", "b.local"));
    EXPECT_EQ(asked, 1);
}

TEST_F(ZoneDumpReaderTest, a_new_dump_forgets_records_and_half_a_line_and_repeats_no_message) {
    const std::string renamed = srvLine("x\\032y", "h.local");
    read(txtLine("a", "\"k=v\"") + renamed + "b._remotepairing._tcp SRV 0 0 1 b.lo");
    EXPECT_EQ(log.size(), 1U);
    reader.beginAnew();
    const auto services = read("cal.\n" + srvLine("a", "a.local") + renamed);
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, Entries{});
    EXPECT_EQ(log.size(), 1U);
}

// Whatever is printed

TEST_F(ZoneDumpReaderTest, a_dump_cut_at_every_byte_gives_the_same) {
    const std::string dump = txtLine("a", "\"k=é📱\"") + srvLine("a", "phone-2.local") +
                             srvLine("x\\032y", "h.local") + srvLine("é", "é.local", 65536) + "\n\n" +
                             srvLine("b", "b.local", 2);
    for (std::size_t cut = 0; cut <= dump.size(); ++cut) {
        ZoneDumpReader cutReader(type, "local");
        std::vector<CapturedBonjourService> services;
        std::vector<std::string> lines;
        for (const std::string& piece : {dump.substr(0, cut), dump.substr(cut)}) {
            auto output = cutReader.consume(piece, now, {});
            services.insert(services.end(), output.services.begin(), output.services.end());
            lines.insert(lines.end(), output.logLines.begin(), output.logLines.end());
        }
        ASSERT_EQ(services.size(), 2U) << cut;
        EXPECT_EQ(services[0].host, "phone.local") << cut;
        EXPECT_EQ(services[0].txt, (Entries{{"k", "é📱"}})) << cut;
        EXPECT_EQ(services[1].host, "b.local") << cut;
        EXPECT_EQ(lines.size(), 2U) << cut;
    }
}

TEST_F(ZoneDumpReaderTest, thousands_of_instances_are_joined_however_their_lines_are_mixed) {
    constexpr int count = 5'000;
    std::vector<std::string> lines;
    for (int i = 0; i < count; ++i) {
        const std::string name = "i" + std::to_string(i);
        lines.push_back(srvLine(name, name + ".local", i));
        lines.push_back(txtLine(name, "\"n=" + std::to_string(i) + "\" \"v=19\""));
    }
    std::mt19937 order(20261120);
    std::shuffle(lines.begin(), lines.end(), order);
    std::string dump;
    for (const std::string& line : lines)
        dump += line;
    std::map<std::string, CapturedBonjourService> newest;
    for (std::size_t at = 0; at < dump.size(); at += 4'093)
        for (auto& service : read(dump.substr(at, 4'093)))
            newest[service.host] = service;
    ASSERT_EQ(newest.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto& service = newest.at("i" + std::to_string(i) + ".local");
        ASSERT_EQ(service.port, i);
        ASSERT_EQ(service.txt, (Entries{{"n", std::to_string(i)}, {"v", "19"}}));
    }
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(ZoneDumpReaderTest, hostile_strings_stay_in_their_own_instance) {
    // As printed for strings of a line feed and a forged record, of quotes, backslashes and control
    // characters, of bytes that are no text, and of 255 bytes.
    const std::string longest = "k=" + std::string(253, 'v');
    const auto services =
        read(srvLine("a", "a.local") +
             txtLine("a",
                     "\"a=\\010Evil._remotepairing._tcp SRV 0 0 1 evil.local.\" \"q=\\\"x\\\"\" "
                     "\"b=\\\\\" \"c=\\001\\010\\013\" \"r=\\255\\128\" \"" +
                         longest + "\""));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].host, "a.local");
    EXPECT_EQ(services[0].txt, (Entries{{"a", "\\010Evil._remotepairing._tcp"},
                                        {"q", "\\\"x\\\""},
                                        {"b", "\\\\"},
                                        {"c", "\\001\\010\\013"},
                                        {"r", "\\255\\128"},
                                        {"k", std::string(253, 'v')}}));
}

TEST_F(ZoneDumpReaderTest, bytes_that_a_tool_would_not_print_are_taken_as_they_are) {
    const std::string name("a\0\r\x1B\"b", 6);
    const auto services =
        read(srvLine(name, std::string("h\0.local\r", 9)) + srvLine("tab\there", "t.local"));
    ASSERT_EQ(services.size(), 2U);
    EXPECT_EQ(services[0].name, name);
    EXPECT_EQ(services[1].name, "tab\there");
}

TEST_F(ZoneDumpReaderTest, the_longest_names_are_taken_and_longer_words_are_no_names) {
    // 63 bytes, each printed as a number; four such labels for a host.
    std::string instance;
    for (int i = 0; i < 63; ++i)
        instance += "\\255";
    std::string host;
    for (int label = 0; label < 4; ++label)
        host += std::string(62, 'h') + ".";
    host += "local";
    EXPECT_THAT(hosts(srvLine("a", host)), ElementsAre(host));
    EXPECT_THAT(hosts(srvLine(instance, "h.local")), IsEmpty());
    EXPECT_EQ(log.size(), 1U);
    EXPECT_THAT(hosts(srvLine("b", std::string(1'021, 'h')) + srvLine(std::string(1'021, '\\'), "h.local")),
                IsEmpty());
    EXPECT_THAT(hosts(txtLine("b", "\"k=v\"")), IsEmpty());
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(ZoneDumpReaderTest, a_line_above_64_kib_is_dropped_whole_and_the_next_one_read) {
    const std::string start = "a._remotepairing._tcp TXT \"k=";
    read(srvLine("a", "h.local") + start + std::string(65'535 - start.size(), 'v') + "\"\n");
    ASSERT_NE(reader.records().txt("a"), nullptr);
    EXPECT_EQ(reader.records().txt("a")->at("k").size(), 65'535 - start.size());
    EXPECT_THAT(read(txtLine("a", "\"" + std::string(65'536, 'v') + "=1\"")), IsEmpty());
    EXPECT_EQ(reader.records().txt("a")->size(), 1U);
    const auto services = read(txtLine("a", "\"k=short\""));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, (Entries{{"k", "short"}}));
}

TEST_F(ZoneDumpReaderTest, a_dump_that_never_ends_a_line_keeps_nothing) {
    for (int i = 0; i < 5'000; ++i)
        ASSERT_THAT(read(std::string(16'384, i % 7 == 0 ? '"' : 'x')), IsEmpty());
    EXPECT_EQ(reader.records().count(), 0U);
    EXPECT_THAT(hosts("\n" + srvLine("a", "h.local")), ElementsAre("h.local"));
}

TEST_F(ZoneDumpReaderTest, more_than_ten_thousand_instances_are_told_once_and_a_real_one_is_still_seen) {
    std::size_t published = 0;
    for (int i = 0; i < 30'000; ++i) {
        const std::string name = "i" + std::to_string(i);
        published += read(srvLine(name, name + ".local") + txtLine(name, "\"k=v\"")).size();
    }
    EXPECT_EQ(published, 30'000U);
    EXPECT_EQ(reader.records().count(), 10'000U);
    EXPECT_THAT(log,
                ElementsAre("Bonjour: too many _remotepairing._tcp records — the ones printed longest ago "
                            "are forgotten."));
    const auto services = read(srvLine("phone", "phone.local") + txtLine("phone", "\"ver=19\""));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].txt, (Entries{{"ver", "19"}}));
}

TEST_F(ZoneDumpReaderTest, one_chunk_of_more_instances_than_are_kept_publishes_those_that_are) {
    std::string dump;
    for (int i = 0; i < 12'000; ++i)
        dump += srvLine("i" + std::to_string(i), "h.local", i % 65'536);
    const auto services = read(dump);
    ASSERT_EQ(services.size(), 10'000U);
    EXPECT_EQ(services.front().name, "i2000");
    EXPECT_EQ(services.back().name, "i11999");
}

TEST_F(ZoneDumpReaderTest, a_flood_of_rejections_fills_neither_the_log_nor_memory) {
    for (int i = 0; i < 5'000; ++i)
        read(srvLine("x\\032" + std::to_string(i), "h.local") +
             srvLine("a", "h-" + std::to_string(i) + ".local"));
    ASSERT_EQ(log.size(), 1'001U);
    EXPECT_EQ(log.back(),
              "Bonjour: no more is said about _remotepairing._tcp records that are ignored or recovered.");
}

TEST_F(ZoneDumpReaderTest, one_line_repeated_for_ever_gives_one_service_a_chunk) {
    std::string chunk;
    while (chunk.size() < 16'384)
        chunk += srvLine("a", "h-2.local");
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(read(chunk).size(), 1U);
    EXPECT_EQ(log.size(), 1U);
    EXPECT_EQ(reader.records().count(), 1U);
}

TEST_F(ZoneDumpReaderTest, another_service_type_and_domain_are_taken_over) {
    ZoneDumpReader other("_http._tcp", "example.org");
    const auto services =
        other.consume("web._http._tcp SRV 0 0 80 www.example.org.\n" + srvLine("a", "h.local"), now, {})
            .services;
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].serviceType, "_http._tcp");
    EXPECT_EQ(services[0].domain, "example.org");
    EXPECT_EQ(services[0].host, "www.example.org");
}

}  // namespace
}  // namespace quillbay
