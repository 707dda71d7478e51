#include "ui/shell/CommandLine.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

TEST(ShellCommandLine, opens_the_window_unless_it_is_told_otherwise) {
    EXPECT_EQ(parseCommandLine({}), StartMode::window);
    EXPECT_EQ(parseCommandLine({"--hidden"}), StartMode::hidden);
    EXPECT_EQ(parseCommandLine({"--help"}), StartMode::help);
    EXPECT_EQ(parseCommandLine({"-h"}), StartMode::help);
    EXPECT_EQ(parseCommandLine({"--version"}), StartMode::version);
}

TEST(ShellCommandLine, takes_nothing_else) {
    EXPECT_EQ(parseCommandLine({"--fly"}), std::nullopt);
    EXPECT_EQ(parseCommandLine({""}), std::nullopt);
    EXPECT_EQ(parseCommandLine({"--hidden", "--hidden"}), std::nullopt);
    EXPECT_EQ(parseCommandLine({"-platform", "offscreen"}), std::nullopt);
}

TEST(ShellCommandLine, names_the_argument_that_is_wrong) {
    EXPECT_EQ(wrongUsage({"--bogus"}), "there is no argument \"--bogus\"");
    EXPECT_EQ(wrongUsage({"--hidden", "--bogus"}), "there is no argument \"--bogus\"");
    EXPECT_EQ(wrongUsage({"--hidden", "--version"}), "\"--version\" is one argument too many");
    EXPECT_EQ(wrongUsage({""}), "there is no argument \"\"");
    EXPECT_EQ(wrongUsage({"a\n\x1b[2J"}), "there is no argument \"a\\n\\x1b[2J\"");
}

}  // namespace
}  // namespace quillbay
