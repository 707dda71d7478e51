#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"

namespace quillbay {
namespace {

constexpr std::size_t limitBytes = 65536;

/// Runs the program itself; nothing that these tests ask for gets as far as the daemon.
ChildResult run(const std::vector<std::string>& arguments) {
    const ChildCommand command{QUILLBAY_DNS_SD, arguments, ChildCommand::Output::pipe,
                               ChildCommand::Output::pipe};
    const auto result = runToEnd(command, limitBytes, StopToken(), std::chrono::seconds(20));
    if (!result) ADD_FAILURE() << "the program does not end";
    return result.value_or(ChildResult{});
}

const char* const usage =
    "usage: dns-sd -Z TYPE DOMAIN | dns-sd -i IFACE -P NAME TYPE DOMAIN PORT HOST ADDRESS [KEY=VALUE...]\n";

TEST(Program, refuses_an_unknown_form_with_its_usage_and_status_2) {
    const ChildResult result = run({"-B", "_remotepairing._tcp", "local"});
    EXPECT_EQ(result.status.code, 2);
    EXPECT_EQ(result.standardError, usage);
    EXPECT_EQ(result.standardOutput, "");
}

TEST(Program, refuses_no_arguments_with_its_usage_and_status_2) {
    const ChildResult result = run({});
    EXPECT_EQ(result.status.code, 2);
    EXPECT_EQ(result.standardError, usage);
}

TEST(Program, says_what_is_wrong_with_a_port) {
    const ChildResult result = run({"-i", "lo", "-P", "N", "_t._tcp", "local", "65536", "h", "1.2.3.4"});
    EXPECT_EQ(result.status.code, 2);
    EXPECT_EQ(result.standardError, std::string("dns-sd: \"65536\" is no port from 1 to 65535\n") + usage);
}

TEST(Program, says_that_an_interface_does_not_exist) {
    const ChildResult result = run({"-i", "nowhere0", "-P", "N", "_t._tcp", "local", "1", "h", "1.2.3.4"});
    EXPECT_EQ(result.status.code, 1);
    EXPECT_EQ(result.standardError, "dns-sd: there is no interface \"nowhere0\"\n");
}

}  // namespace
}  // namespace quillbay
