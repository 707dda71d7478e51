#include "ctl/Style.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/ForkedChild.h"

namespace quillbay::ctl {
namespace {

TEST(CtlStyle, is_coloured_on_a_terminal_alone) {
    inChild([] {
        ::unsetenv("NO_COLOR");
        ::setenv("TERM", "xterm", 1);
        EXPECT_TRUE(Style::of(true).coloured);
        EXPECT_FALSE(Style::of(false).coloured);
    });
}

TEST(CtlStyle, is_plain_where_the_person_or_the_terminal_wants_it) {
    inChild([] {
        ::setenv("TERM", "xterm", 1);
        ::setenv("NO_COLOR", "1", 1);
        EXPECT_FALSE(Style::of(true).coloured);
        ::setenv("NO_COLOR", "", 1);
        EXPECT_TRUE(Style::of(true).coloured) << "set, but empty, counts as not set";
        ::setenv("TERM", "dumb", 1);
        EXPECT_FALSE(Style::of(true).coloured);
        ::unsetenv("TERM");
        EXPECT_FALSE(Style::of(true).coloured);
    });
}

}  // namespace
}  // namespace quillbay::ctl
