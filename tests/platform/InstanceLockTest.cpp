#include "platform/InstanceLock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "fakes/TemporaryFolder.h"
#include "fakes/Tools.h"
#include "platform/ForkedChild.h"

namespace quillbay {
namespace {

std::string refusalIn(const std::filesystem::path& folder) {
    try {
        static_cast<void>(InstanceLock::take(folder));
    } catch (const AlreadyRunningError& refusal) {
        return refusal.what();
    }
    return "(taken)";
}

TEST(InstanceLock, is_held_by_one_alone_who_is_named) {
    const fakes::TemporaryFolder folder;
    const std::string expected = "Quillbay is running already (process " + std::to_string(::getpid()) + ").";
    {
        const InstanceLock lock = InstanceLock::take(folder.path());
        EXPECT_EQ(refusalIn(folder.path()), expected);
        inChild([&] { EXPECT_EQ(refusalIn(folder.path()), expected); });
    }
    EXPECT_EQ(refusalIn(folder.path()), "(taken)") << "it was given back";
}

TEST(InstanceLock, ends_with_a_process_that_is_killed) {
    const fakes::TemporaryFolder folder;
    inChild([&] {
        const auto* kept = new InstanceLock(InstanceLock::take(folder.path()));
        static_cast<void>(kept);
    });
    EXPECT_EQ(refusalIn(folder.path()), "(taken)");
}

TEST(InstanceLock, is_not_held_by_children) {
    const fakes::TemporaryFolder folder;
    std::optional<InstanceLock> lock = InstanceLock::take(folder.path());
    const ChildProcess child = ChildProcess::launch(fakes::silent(fakes::toolPath("hangs")));
    lock.reset();
    EXPECT_EQ(refusalIn(folder.path()), "(taken)");
    child.terminateAndWait();
}

TEST(InstanceLock, a_holder_that_has_not_said_who_it_is_is_not_named) {
    const fakes::TemporaryFolder folder;
    for (const char* content : {"", "\n", "someone", "-7", "99999999999999999999"}) {
        const InstanceLock lock = InstanceLock::take(folder.path());
        std::ofstream(folder.path() / "pid", std::ios::trunc) << content;
        EXPECT_EQ(refusalIn(folder.path()), "Quillbay is running already.") << content;
    }
}

TEST(InstanceLock, an_earlier_holder_that_has_ended_is_not_named) {
    const fakes::TemporaryFolder folder;
    const pid_t ended = ::fork();
    if (ended == 0) ::_exit(0);
    ASSERT_EQ(::waitpid(ended, nullptr, 0), ended);
    const InstanceLock lock = InstanceLock::take(folder.path());
    std::ofstream(folder.path() / "pid", std::ios::trunc) << ended << "\n";
    EXPECT_EQ(refusalIn(folder.path()), "Quillbay is running already.");
}

TEST(InstanceLock, a_longer_name_of_an_earlier_holder_leaves_nothing_behind) {
    const fakes::TemporaryFolder folder;
    std::ofstream(folder.path() / "pid") << "999999999999 and more";
    const InstanceLock lock = InstanceLock::take(folder.path());
    EXPECT_EQ(refusalIn(folder.path()),
              "Quillbay is running already (process " + std::to_string(::getpid()) + ").");
}

TEST(InstanceLock, says_why_it_cannot_be_taken) {
    EXPECT_THROW(static_cast<void>(InstanceLock::take("/nowhere")), std::system_error);
}

TEST(InstanceLock, does_not_follow_a_link) {
    const fakes::TemporaryFolder folder;
    std::filesystem::create_symlink(folder.path() / "elsewhere", folder.path() / "pid");
    const InstanceLock lock = InstanceLock::take(folder.path());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "elsewhere"));
    EXPECT_EQ(refusalIn(folder.path()), "Quillbay is running already.");
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / "link");
    EXPECT_THROW(static_cast<void>(InstanceLock::take(folder.path() / "link")), std::system_error);
}

TEST(InstanceLock, is_still_held_when_the_files_of_its_folder_are_tidied_away) {
    const fakes::TemporaryFolder folder;
    const InstanceLock lock = InstanceLock::take(folder.path());
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        std::filesystem::remove(entry);
    EXPECT_EQ(refusalIn(folder.path()), "Quillbay is running already.");
}

}  // namespace
}  // namespace quillbay
