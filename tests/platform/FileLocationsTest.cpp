#include "platform/FileLocations.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/ForkedChild.h"

namespace quillbay {
namespace {

void forget(std::initializer_list<const char*> names) {
    for (const char* name : names)
        ::unsetenv(name);
}

TEST(FileLocations, follow_the_environment) {
    inChild([] {
        ::setenv("XDG_DATA_HOME", "/data", 1);
        ::setenv("XDG_CONFIG_HOME", "/settings", 1);
        ::setenv("TMPDIR", "/short-lived", 1);
        forget({"HOME"});
        const FileLocations locations = FileLocations::system();
        EXPECT_EQ(locations.applicationSupport, "/data");
        EXPECT_EQ(locations.configuration, "/settings");
        EXPECT_EQ(locations.temporary, "/short-lived");
    });
}

TEST(FileLocations, lie_below_the_home_by_default) {
    inChild([] {
        ::setenv("HOME", "/home/mirel", 1);
        forget({"XDG_DATA_HOME", "XDG_CONFIG_HOME", "TMPDIR"});
        const FileLocations locations = FileLocations::system();
        EXPECT_EQ(locations.applicationSupport, "/home/mirel/.local/share");
        EXPECT_EQ(locations.configuration, "/home/mirel/.config");
        EXPECT_EQ(locations.temporary, "/tmp");
    });
}

TEST(FileLocations, pass_over_empty_and_relative_values) {
    inChild([] {
        ::setenv("HOME", "/home/mirel", 1);
        ::setenv("XDG_DATA_HOME", "", 1);
        ::setenv("XDG_CONFIG_HOME", "somewhere/here", 1);
        ::setenv("TMPDIR", "tmp", 1);
        const FileLocations locations = FileLocations::system();
        EXPECT_EQ(locations.applicationSupport, "/home/mirel/.local/share");
        EXPECT_EQ(locations.configuration, "/home/mirel/.config");
        EXPECT_EQ(locations.temporary, "/tmp");
    });
}

TEST(FileLocations, ask_the_user_database_without_a_home_in_the_environment) {
    const passwd* user = ::getpwuid(::geteuid());
    ASSERT_NE(user, nullptr);
    const std::filesystem::path home = user->pw_dir;
    inChild([&home] {
        forget({"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"});
        EXPECT_EQ(FileLocations::system().applicationSupport, home / ".local/share");
    });
}

TEST(FileLocations, refuse_a_user_without_a_home) {
    inChild([] {
        if (::geteuid() != 0) return;  // only root can become a user whom no database knows
        constexpr uid_t unknown = 3'999'999'999;
        ASSERT_EQ(::setuid(unknown), 0);
        forget({"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"});
        EXPECT_THROW(FileLocations::system(), std::runtime_error);
    });
}

}  // namespace
}  // namespace quillbay
