#include "platform/ScratchFolder.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <system_error>
#include <thread>

#include "platform/Files.h"
#include "platform/FilesFixture.h"
#include "platform/ForkedChild.h"
#include "platform/SystemCallTrace.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

using ScratchFolderTest = FilesFixture;

TEST_F(ScratchFolderTest, is_for_this_user_alone_and_goes_with_all_that_is_in_it) {
    {
        const ScratchFolder folder(at("tmp"), "scratch-");
        EXPECT_EQ(modeOf(folder.path()), 0700U);
        EXPECT_EQ(folder.path().parent_path(), at("tmp"));
        EXPECT_THAT(folder.path().filename().string(), StartsWith("scratch-"));
        makeDirectories(folder.path() / "a/b");
        write(folder.path() / "a/b/c", "text");
    }
    EXPECT_THAT(namesIn(at("tmp")), IsEmpty());
}

TEST_F(ScratchFolderTest, removes_what_is_left_over_and_nothing_else) {
    const ScratchFolder living(folder_, "scratch-");
    makeDirectories(at("scratch-abcdef/below"));
    write(at("scratch-abcdef/below/file"), "left over");
    makeDirectories(at("scratch-abcdefg"));
    makeDirectories(at("another-abcdef"));
    write(at("scratch-fedcba"), "a file");
    fs::create_directory_symlink("another-abcdef", at("scratch-aaaaaa"));

    ScratchFolder::removeLeftOver(folder_, "scratch-");

    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre(living.path().filename().string(), "scratch-abcdefg",
                                                       "another-abcdef", "scratch-fedcba", "scratch-aaaaaa"));
}

TEST_F(ScratchFolderTest, another_users_folder_stays) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
    makeDirectories(at("scratch-abcdef"));
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(::chown(at("scratch-abcdef").c_str(), nobody, nobody), 0);
    ScratchFolder::removeLeftOver(folder_, "scratch-");
    EXPECT_THAT(namesIn(folder_), ElementsAre("scratch-abcdef"));
}

TEST_F(ScratchFolderTest, a_parent_that_is_not_there_has_nothing_left_over) {
    ScratchFolder::removeLeftOver(at("missing"), "scratch-");
    EXPECT_FALSE(fs::exists(at("missing")));
}

TEST_F(ScratchFolderTest, a_parent_that_takes_no_folder_is_an_error_of_the_system) {
    write(at("file"), "");
    EXPECT_THROW(ScratchFolder(at("file"), "scratch-"), std::system_error);
}

TEST_F(ScratchFolderTest, is_left_over_whenever_its_program_is_killed) {
    constexpr std::size_t mostSteps = 200;
    bool finished = false;
    std::size_t leftOver = 0;
    for (std::size_t steps = 1; steps < mostSteps && !finished; ++steps) {
        finished = runAndKillAfter(steps, [&] {
                       const ScratchFolder folder(folder_, "scratch-");
                       write(folder.path() / "file", "text");
                   }).finished;
        leftOver += namesIn(folder_).size();
        ScratchFolder::removeLeftOver(folder_, "scratch-");
        ASSERT_THAT(namesIn(folder_), IsEmpty()) << "after " << steps << " steps";
    }
    EXPECT_TRUE(finished);
    EXPECT_GT(leftOver, 0U);  // or the removal was never seen
}

TEST_F(ScratchFolderTest, can_be_made_while_another_program_cleans_up) {
    std::atomic<bool> done = false;
    std::thread cleaner([&] {
        while (!done)
            ScratchFolder::removeLeftOver(folder_, "scratch-");
    });
    constexpr int rounds = 300;
    int whole = 0;
    for (int round = 0; round < rounds; ++round) {
        const ScratchFolder folder(folder_, "scratch-");
        write(folder.path() / "file", "text");
        if (readFile(folder.path() / "file", 10) == "text") ++whole;
    }
    done = true;
    cleaner.join();
    EXPECT_EQ(whole, rounds);
}

}  // namespace
}  // namespace quillbay
