#include "platform/RuntimeFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status{};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    constexpr mode_t permissions = 07777;
    return status.st_mode & permissions;
}

std::string refusalOf(const std::filesystem::path& runtime) {
    try {
        static_cast<void>(prepareRuntimeFolder(runtime));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(prepared)";
}

class RuntimeFolder : public ::testing::Test {
 protected:
    fakes::TemporaryFolder folder;
    std::filesystem::path runtime = folder.path() / "run";
    std::filesystem::path own = runtime / "quillbay";
};

TEST_F(RuntimeFolder, is_made_for_the_user_alone) {
    EXPECT_EQ(prepareRuntimeFolder(runtime), own);
    EXPECT_EQ(modeOf(runtime), 0700U);
    EXPECT_EQ(modeOf(own), 0700U);
    EXPECT_EQ(controlSocketPath(runtime), own / "control.sock");
}

TEST_F(RuntimeFolder, is_used_as_it_is_when_it_is_there) {
    std::filesystem::create_directories(own);
    ASSERT_EQ(::chmod(own.c_str(), 0700), 0);
    std::ofstream(own / "something") << "kept";
    EXPECT_EQ(refusalOf(runtime), "(prepared)");
    EXPECT_TRUE(std::filesystem::exists(own / "something"));
}

TEST_F(RuntimeFolder, is_refused_when_others_can_get_in) {
    std::filesystem::create_directories(own);
    ASSERT_EQ(::chmod(own.c_str(), 0710), 0);
    EXPECT_EQ(refusalOf(runtime),
              "Other users can get into the folder " + own.string() + " (mode 0710, not 0700).");
    EXPECT_EQ(modeOf(own), 0710U) << "it is somebody's choice, and left alone";
}

TEST_F(RuntimeFolder, is_refused_when_it_belongs_to_another_user) {
    if (::geteuid() != 0) return;  // only root can give a folder away
    std::filesystem::create_directories(own);
    ASSERT_EQ(::chmod(own.c_str(), 0700), 0);
    ASSERT_EQ(::chown(own.c_str(), 65534, 65534), 0);
    EXPECT_EQ(refusalOf(runtime), "The folder " + own.string() + " belongs to another user.");
}

TEST_F(RuntimeFolder, is_refused_below_a_directory_that_another_user_controls) {
    if (::geteuid() != 0) return;  // only root can give a folder away
    std::filesystem::create_directory(runtime);
    ASSERT_EQ(::chown(runtime.c_str(), 65534, 65534), 0);
    EXPECT_EQ(refusalOf(runtime), "The folder " + runtime.string() + " can be changed by other users.");
}

TEST_F(RuntimeFolder, may_lie_in_a_shared_directory_only_where_files_cannot_be_taken_away) {
    std::filesystem::create_directory(runtime);
    ASSERT_EQ(::chmod(runtime.c_str(), 0777), 0);
    EXPECT_EQ(refusalOf(runtime), "The folder " + runtime.string() + " can be changed by other users.");
    ASSERT_EQ(::chmod(runtime.c_str(), 01777), 0);
    EXPECT_EQ(refusalOf(runtime), "(prepared)");
}

TEST_F(RuntimeFolder, is_not_a_link_that_somebody_has_put_there) {
    std::filesystem::create_directories(runtime);
    std::filesystem::create_directory(folder.path() / "elsewhere");
    std::filesystem::create_symlink(folder.path() / "elsewhere", own);
    EXPECT_EQ(refusalOf(runtime), own.string() + " is not a folder.");
}

TEST_F(RuntimeFolder, says_why_it_cannot_be_made) {
    EXPECT_EQ(
        refusalOf("/nowhere/at/all"),
        "The folder /nowhere/at/all cannot be made: POSIXErrorCode(rawValue: 2): No such file or directory");
}

}  // namespace
}  // namespace quillbay
