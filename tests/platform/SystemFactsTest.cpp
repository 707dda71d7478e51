#include "platform/SystemFacts.h"

#include <gtest/gtest.h>

#include "fakes/ProcessResources.h"
#include "fakes/Tools.h"
#include "platform/ChildProcess.h"
#include "platform/Text.h"
#include "platform/linux/SettingLines.h"

namespace quillbay {
namespace {

using SystemFactsTest = fakes::LeavesNothingBehind;

/// What the system's own shell and tools make of it.
std::string printedBy(const std::string& script) {
    const auto result = runToEnd(fakes::piped("/bin/sh", {"-c", script}), 4096, StopToken());
    return result ? trimmed(result->standardOutput) : "no result";
}

TEST_F(SystemFactsTest, names_the_distribution_and_the_kernel) {
    EXPECT_EQ(operatingSystemVersion(),
              printedBy(". /etc/os-release; echo \"$PRETTY_NAME, $(uname -s) $(uname -r)\""));
}

TEST_F(SystemFactsTest, names_the_computer) {
    EXPECT_EQ(computerName(), printedBy("[ -f /etc/machine-info ] && . /etc/machine-info; "
                                        "echo \"${PRETTY_HOSTNAME:-$(uname -n)}\""));
}

TEST(SettingLinesTest, reads_bare_and_quoted_values) {
    const char* text =
        "# NAME=comment\nNAME=bare\nPRETTY_NAME=\"A \\\"B\\\" \\$C \\\\ \\n\"\nOTHER='one $two'\n";
    EXPECT_EQ(settingLine(text, "NAME"), "bare");
    EXPECT_EQ(settingLine(text, "PRETTY_NAME"), "A \"B\" $C \\ \\n");
    EXPECT_EQ(settingLine(text, "OTHER"), "one $two");
}

TEST(SettingLinesTest, takes_the_last_of_several) {
    EXPECT_EQ(settingLine("NAME=first\nNAME=last", "NAME"), "last");
}

TEST(SettingLinesTest, finds_nothing_where_there_is_nothing) {
    EXPECT_EQ(settingLine("", "NAME"), std::nullopt);
    EXPECT_EQ(settingLine("NAMES=x\nNAM=y\nNAME\n", "NAME"), std::nullopt);
}

TEST(SettingLinesTest, an_empty_value_is_one) {
    EXPECT_EQ(settingLine("NAME=", "NAME"), "");
    EXPECT_EQ(settingLine("NAME=\"\"", "NAME"), "");
}

TEST(SettingLinesTest, an_unended_quote_is_a_character) {
    EXPECT_EQ(settingLine("NAME=\"", "NAME"), "\"");
    EXPECT_EQ(settingLine("NAME=\"a\\\"", "NAME"), "a\\");
}

}  // namespace
}  // namespace quillbay
