#include "dns-sd/CommandLine.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace quillbay::dnssd {
namespace {

using Arguments = std::vector<std::string>;

Arguments proxy() {
    return {"-i",    "en0",   "-P",           "Phone",       "_remotepairing._tcp",
            "local", "49152", "iPhone.local", "192.168.77.1"};
}

Arguments proxyWith(std::size_t index, const std::string& value) {
    Arguments arguments = proxy();
    arguments[index] = value;
    return arguments;
}

std::string reasonOf(const Arguments& arguments) {
    const CommandLine line = parseCommandLine(arguments);
    const auto* const error = std::get_if<UsageError>(&line);
    return error != nullptr ? error->reason : "accepted";
}

ProxyCommand commandOf(const Arguments& arguments) {
    const CommandLine line = parseCommandLine(arguments);
    const auto* const command = std::get_if<ProxyCommand>(&line);
    if (command == nullptr) ADD_FAILURE() << "refused: " << std::get<UsageError>(line).reason;
    return command != nullptr ? *command : ProxyCommand{};
}

TEST(CommandLine, reads_a_zone_dump) {
    EXPECT_EQ(parseCommandLine({"-Z", "_remotepairing._tcp", "local"}),
              CommandLine(DumpCommand{"_remotepairing._tcp", "local"}));
}

TEST(CommandLine, takes_the_dot_off_the_domain) {
    EXPECT_EQ(parseCommandLine({"-Z", "_remotepairing._tcp", "local."}),
              CommandLine(DumpCommand{"_remotepairing._tcp", "local"}));
}

TEST(CommandLine, reads_a_proxy_registration_without_txt) {
    const ProxyCommand expected{"en0", "Phone",        "_remotepairing._tcp", "local",
                                49152, "iPhone.local", "192.168.77.1",        {}};
    EXPECT_EQ(parseCommandLine(proxy()), CommandLine(expected));
}

TEST(CommandLine, keeps_txt_arguments_unchanged_and_in_order) {
    Arguments arguments = proxy();
    arguments.insert(arguments.end(), {"ver=19", "a=b = \"c\" \\ d", "empty=", "ver=20"});
    EXPECT_EQ(commandOf(arguments).txt, (Arguments{"ver=19", "a=b = \"c\" \\ d", "empty=", "ver=20"}));
}

TEST(CommandLine, qualifies_a_host_without_a_dot) {
    EXPECT_EQ(commandOf(proxyWith(7, "iPhone")).host, "iPhone.local");
}

TEST(CommandLine, takes_one_dot_off_the_host) {
    EXPECT_EQ(commandOf(proxyWith(7, "iPhone.local.")).host, "iPhone.local");
    EXPECT_EQ(commandOf(proxyWith(7, "iPhone.")).host, "iPhone.local");
}

TEST(CommandLine, refuses_an_empty_host) {
    EXPECT_EQ(reasonOf(proxyWith(7, "")), "the host name is empty");
    EXPECT_EQ(reasonOf(proxyWith(7, ".")), "the host name is empty");
}

TEST(CommandLine, accepts_the_ports_at_both_ends) {
    EXPECT_EQ(commandOf(proxyWith(6, "1")).port, 1);
    EXPECT_EQ(commandOf(proxyWith(6, "65535")).port, 65535);
}

TEST(CommandLine, refuses_what_is_no_port) {
    for (const std::string port :
         {"0", "65536", "-1", "+1", "", " 1", "1 ", "80x", "0x50", "99999999999999999999"})
        EXPECT_EQ(reasonOf(proxyWith(6, port)), "\"" + port + "\" is no port from 1 to 65535");
}

TEST(CommandLine, refuses_what_is_no_ipv4_address) {
    for (const std::string address : {"", "fd12::1", "1.2.3", "1.2.3.256", "1.2.3.4.", "iPhone.local"})
        EXPECT_EQ(reasonOf(proxyWith(8, address)), "\"" + address + "\" is no IPv4 address");
}

TEST(CommandLine, refuses_what_is_no_service_type) {
    for (const std::string type :
         {"", "_tcp", "http._tcp", "_http.tcp", "_http._sctp", "_._tcp", "_a.b._tcp", "_http._tcp."})
        EXPECT_EQ(reasonOf(proxyWith(4, type)), "\"" + type + "\" is no service type such as _name._tcp");
    EXPECT_EQ(reasonOf({"-Z", "_a b._tcp", "local"}), "\"_a b._tcp\" is no service type such as _name._tcp");
}

TEST(CommandLine, refuses_an_empty_domain) {
    EXPECT_EQ(reasonOf({"-Z", "_remotepairing._tcp", ""}), "the domain is empty");
    EXPECT_EQ(reasonOf(proxyWith(5, ".")), "the domain is empty");
}

TEST(CommandLine, accepts_instance_names_of_1_to_63_bytes) {
    EXPECT_EQ(commandOf(proxyWith(3, std::string(63, 'n'))).instanceName, std::string(63, 'n'));
    EXPECT_EQ(commandOf(proxyWith(3, "Bob's \"a.b\" 📱")).instanceName, "Bob's \"a.b\" 📱");
    EXPECT_EQ(reasonOf(proxyWith(3, "")), "an instance name has 1 to 63 bytes, not 0");
    EXPECT_EQ(reasonOf(proxyWith(3, std::string(64, 'n'))), "an instance name has 1 to 63 bytes, not 64");
}

TEST(CommandLine, refuses_a_txt_argument_without_an_equals_sign) {
    Arguments arguments = proxy();
    arguments.emplace_back("flag");
    EXPECT_EQ(reasonOf(arguments), "\"flag\" is not KEY=VALUE");
}

TEST(CommandLine, refuses_txt_that_no_record_can_hold) {
    Arguments arguments = proxy();
    arguments.push_back("k=" + std::string(253, 'v'));
    EXPECT_EQ(commandOf(arguments).txt.size(), 1U);
    arguments.back() += "v";
    EXPECT_EQ(reasonOf(arguments), "a KEY=VALUE of 256 bytes is longer than 255");
    arguments = proxy();
    arguments.insert(arguments.end(), 32, "k=" + std::string(253, 'v'));
    EXPECT_EQ(reasonOf(arguments), "the KEY=VALUE arguments need more than 8000 bytes");
}

TEST(CommandLine, answers_every_other_form_with_the_bare_usage) {
    const std::vector<Arguments> others = {
        {},
        {"-Z"},
        {"-Z", "_remotepairing._tcp"},
        {"-Z", "_remotepairing._tcp", "local", "more"},
        {"-B", "_remotepairing._tcp", "local"},
        {"-P", "Phone", "_remotepairing._tcp", "local", "49152", "iPhone.local", "192.168.77.1"},
        {"-i", "en0", "-R", "Phone", "_remotepairing._tcp", "local", "49152", "iPhone.local", "192.168.77.1"},
        {"-i", "en0", "-P", "Phone", "_remotepairing._tcp", "local", "49152", "iPhone.local"},
        {"--help"},
    };
    for (const Arguments& arguments : others)
        EXPECT_EQ(parseCommandLine(arguments), CommandLine(UsageError{}));
}

}  // namespace
}  // namespace quillbay::dnssd
