#include "platform/FileLocations.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

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

TEST(RuntimeDirectory, follows_the_environment) {
    inChild([] {
        ::setenv("XDG_RUNTIME_DIR", "/run/mine", 1);
        EXPECT_EQ(runtimeDirectory(), "/run/mine");
        EXPECT_EQ(FileLocations::system().runtime, "/run/mine");
    });
}

TEST(RuntimeDirectory, is_the_one_of_the_login_without_the_environment) {
    inChild([] {
        if (::geteuid() != 0) return;  // only root can make one that is not there
        enterNamespaces(CLONE_NEWNS);
        ASSERT_EQ(::mount("none", "/run", "tmpfs", 0, nullptr), 0);
        std::filesystem::create_directories("/run/user/0");
        ::setenv("XDG_RUNTIME_DIR", "run/mine", 1);
        EXPECT_EQ(runtimeDirectory(), "/run/user/0") << "a relative one counts as none";
        forget({"XDG_RUNTIME_DIR"});
        EXPECT_EQ(runtimeDirectory(), "/run/user/0");
        ASSERT_EQ(::chown("/run/user/0", 65534, 65534), 0);
        ::setenv("TMPDIR", "/short-lived", 1);
        EXPECT_EQ(runtimeDirectory(), "/short-lived/quillbay-0") << "one of another user is none";
    });
}

TEST(RuntimeDirectory, is_a_folder_of_the_users_own_where_there_is_no_other) {
    inChild([] {
        if (::geteuid() != 0) return;  // only root can become a user who has never logged in
        constexpr uid_t unknown = 3'999'999'999;
        ASSERT_EQ(::setuid(unknown), 0);
        forget({"XDG_RUNTIME_DIR", "TMPDIR", "HOME"});
        EXPECT_EQ(runtimeDirectory(), "/tmp/quillbay-3999999999");
    });
}

}  // namespace
}  // namespace quillbay
