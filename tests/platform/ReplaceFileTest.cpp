#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "platform/Files.h"
#include "platform/FilesFixture.h"
#include "platform/ForkedChild.h"
#include "platform/SystemCallTrace.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

class ReplaceFile : public FilesFixture {
 protected:
    static int errorOfReplacing(const std::filesystem::path& path, std::string_view content) {
        try {
            replaceFile(path, content);
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().category(), std::generic_category());
            return error.code().value();
        }
        return 0;
    }
};

TEST_F(ReplaceFile, creates_and_replaces) {
    replaceFile(at("f"), "one");
    EXPECT_EQ(readFile(at("f"), 100), "one");
    replaceFile(at("f"), "");
    EXPECT_EQ(readFile(at("f"), 100), "");
    const std::string large(3 * mebibyte + 1, 'y');
    replaceFile(at("f"), large);
    EXPECT_EQ(readFile(at("f"), 4 * mebibyte), large);
    EXPECT_THAT(namesIn(folder_), ElementsAre("f"));
}

TEST_F(ReplaceFile, keeps_the_content_from_other_users_under_any_mask) {
    write(at("old"), "was readable by all");
    ::chmod(at("old").c_str(), 0666);
    const mode_t before = ::umask(0);
    replaceFile(at("old"), "secret");
    replaceFile(at("new"), "secret");
    makeDirectories(at("a/b"));
    ::umask(before);
    EXPECT_EQ(modeOf(at("old")), 0600U);
    EXPECT_EQ(modeOf(at("new")), 0600U);
    EXPECT_EQ(modeOf(at("a")), 0700U);
    EXPECT_EQ(modeOf(at("a/b")), 0700U);
}

TEST_F(ReplaceFile, replaces_what_a_chain_of_links_names) {
    fs::create_directory(at("elsewhere"));
    write(at("elsewhere/target"), "old");
    fs::create_symlink("elsewhere/target", at("second"));
    fs::create_symlink(at("second"), at("first"));
    replaceFile(at("first"), "new");
    EXPECT_TRUE(fs::is_symlink(at("first")));
    EXPECT_TRUE(fs::is_symlink(at("second")));
    EXPECT_EQ(readFile(at("elsewhere/target"), 100), "new");
    EXPECT_THAT(namesIn(at("elsewhere")), ElementsAre("target"));
}

TEST_F(ReplaceFile, creates_what_a_link_names_in_vain) {
    fs::create_symlink("later", at("link"));
    replaceFile(at("link"), "new");
    EXPECT_TRUE(fs::is_symlink(at("link")));
    EXPECT_EQ(readFile(at("later"), 100), "new");
}

TEST_F(ReplaceFile, gives_up_on_links_in_a_circle) {
    fs::create_symlink("b", at("a"));
    fs::create_symlink("a", at("b"));
    EXPECT_EQ(errorOfReplacing(at("a"), "x"), ELOOP);
}

TEST_F(ReplaceFile, replaces_a_file_named_without_a_folder) {
    inChild([this] {
        fs::current_path(folder_);
        replaceFile("plain", "text");
        EXPECT_EQ(readFile("plain", 100), "text");
    });
}

TEST_F(ReplaceFile, accepts_the_longest_name_that_the_file_system_takes) {
    const std::string name(255, 'n');
    replaceFile(at(name), "text");
    EXPECT_EQ(readFile(at(name), 100), "text");
    EXPECT_THAT(namesIn(folder_), ElementsAre(name));
}

TEST_F(ReplaceFile, leaves_nothing_behind_when_the_folder_is_missing_or_the_target_is_a_folder) {
    EXPECT_EQ(errorOfReplacing(at("missing/f"), "x"), ENOENT);
    fs::create_directory(at("target"));
    EXPECT_EQ(errorOfReplacing(at("target"), "x"), EISDIR);
    EXPECT_THAT(namesIn(folder_), ElementsAre("target"));
}

TEST_F(ReplaceFile, leaves_the_old_content_in_a_folder_without_the_right_to_write) {
    write(at("f"), "old");
    ::chmod(folder_.c_str(), 0555);
    inChild([this] {
        constexpr uid_t nobody = 65534;
        if (::geteuid() == 0) {
            ASSERT_EQ(::setgid(nobody), 0);
            ASSERT_EQ(::setuid(nobody), 0);
        }
        EXPECT_EQ(errorOfReplacing(at("f"), "new"), EACCES);
    });
    ::chmod(folder_.c_str(), 0755);
    EXPECT_EQ(readFile(at("f"), 100), "old");
    EXPECT_THAT(namesIn(folder_), ElementsAre("f"));
}

TEST_F(ReplaceFile, leaves_the_old_content_on_a_read_only_disk) {
    inChild([this] {
        enterNamespaces(CLONE_NEWNS);
        ASSERT_EQ(::mount("none", folder_.c_str(), "tmpfs", 0, "size=64k"), 0);
        write(at("f"), "old");
        ASSERT_EQ(::mount("none", folder_.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
        EXPECT_EQ(errorOfReplacing(at("f"), "new"), EROFS);
        EXPECT_EQ(readFile(at("f"), 100), "old");
        EXPECT_THAT(namesIn(folder_), ElementsAre("f"));
        makeDirectories(folder_);  // it is there already
        EXPECT_THROW(makeDirectories(at("new")), std::system_error);
    });
}

TEST_F(ReplaceFile, leaves_the_old_content_and_no_temporary_file_on_a_full_disk) {
    inChild([this] {
        enterNamespaces(CLONE_NEWNS);
        ASSERT_EQ(::mount("none", folder_.c_str(), "tmpfs", 0, "size=64k"), 0);
        const std::string old(16'000, 'o');
        replaceFile(at("f"), old);
        EXPECT_EQ(errorOfReplacing(at("f"), std::string(mebibyte, 'n')), ENOSPC);
        EXPECT_EQ(readFile(at("f"), mebibyte), old);
        EXPECT_THAT(namesIn(folder_), ElementsAre("f"));
        replaceFile(at("f"), "fits again");
        EXPECT_EQ(readFile(at("f"), mebibyte), "fits again");
    });
}

TEST_F(ReplaceFile, holds_the_old_or_the_new_content_whenever_the_writer_is_killed) {
    const std::string older(70'000, 'o');
    const std::string newer(90'000, 'n');
    constexpr std::size_t mostSteps = 2'000;
    bool finished = false;
    bool killedBefore = false;
    bool killedAfter = false;
    std::size_t leftOvers = 0;
    for (std::size_t steps = 1; steps < mostSteps && !finished; ++steps) {
        replaceFile(at("f"), older);
        EXPECT_THAT(namesIn(folder_), ElementsAre("f")) << "left over from " << steps - 1 << " steps";
        finished = runAndKillAfter(steps, [&] { replaceFile(at("f"), newer); }).finished;
        const auto content = readFile(at("f"), mebibyte);
        ASSERT_TRUE(content == older || content == newer) << "after " << steps << " steps";
        ASSERT_LE(namesIn(folder_).size(), 2U);
        leftOvers += namesIn(folder_).size() - 1;
        if (!finished) (content == older ? killedBefore : killedAfter) = true;
    }
    EXPECT_TRUE(finished);
    EXPECT_TRUE(killedBefore);
    EXPECT_TRUE(killedAfter);
    EXPECT_GT(leftOvers, 0U);  // or the removal of what a killed writer leaves was never seen
}

TEST_F(ReplaceFile, syncs_the_content_before_and_the_directory_after_it_takes_the_name) {
    const std::string content(4'321, 'c');  // a length that tells this write from a sanitizer's own
    std::vector<long> order;
    for (const SystemCall& call : systemCallsOf([&] { replaceFile(at("f"), content); })) {
        const bool writes = call.number == SYS_write && call.thirdArgument == content.size();
        const bool renames = call.number == SYS_renameat || call.number == SYS_renameat2;
        if (writes || call.number == SYS_fsync) order.push_back(call.number);
        if (renames) order.push_back(SYS_renameat);
    }
    EXPECT_THAT(order, ElementsAre(SYS_write, SYS_fsync, SYS_renameat, SYS_fsync));
}

TEST_F(ReplaceFile, removes_only_what_nobody_holds_and_only_of_the_same_target) {
    write(at(".f.0123456789abcdef.quillbay-partial"), "left over");
    write(at(".f.fedcba9876543210.quillbay-partial"), "of a living writer");
    write(at(".g.0123456789abcdef.quillbay-partial"), "of another target");
    write(at(".f.0123456789abcdeX.quillbay-partial"), "no such name");
    write(at(".f.0123.quillbay-partial"), "no such name");
    ASSERT_EQ(::mkfifo(at(".f.00000000000000aa.quillbay-partial").c_str(), 0600), 0);
    fs::create_symlink("f", at(".f.00000000000000bb.quillbay-partial"));
    const UniqueDescriptor living(
        ::open(at(".f.fedcba9876543210.quillbay-partial").c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(living.get(), LOCK_EX | LOCK_NB), 0);

    replaceFile(at("f"), "new");

    EXPECT_EQ(readFile(at("f"), 100), "new");
    EXPECT_THAT(namesIn(folder_),
                UnorderedElementsAre(
                    "f", ".f.fedcba9876543210.quillbay-partial", ".g.0123456789abcdef.quillbay-partial",
                    ".f.0123456789abcdeX.quillbay-partial", ".f.0123.quillbay-partial",
                    ".f.00000000000000aa.quillbay-partial", ".f.00000000000000bb.quillbay-partial"));
}

TEST_F(ReplaceFile, what_a_killed_writer_left_can_be_removed_without_writing) {
    write(at("f"), "old");
    write(at(".f.0123456789abcdef.quillbay-partial"), "left over");
    write(at(".f.fedcba9876543210.quillbay-partial"), "of a living writer");
    write(at(".g.0123456789abcdef.quillbay-partial"), "of another target");
    const UniqueDescriptor living(
        ::open(at(".f.fedcba9876543210.quillbay-partial").c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(living.get(), LOCK_EX | LOCK_NB), 0);

    removeLeftOverParts(at("f"));

    EXPECT_EQ(readFile(at("f"), 100), "old");
    EXPECT_THAT(namesIn(folder_), UnorderedElementsAre("f", ".f.fedcba9876543210.quillbay-partial",
                                                       ".g.0123456789abcdef.quillbay-partial"));
    removeLeftOverParts(at("missing/f"));
    EXPECT_FALSE(fs::exists(at("missing")));
}

TEST_F(ReplaceFile, lets_many_writers_replace_one_file_at_the_same_time) {
    constexpr int writers = 4;
    constexpr int rounds = 100;
    std::vector<std::thread> threads;
    threads.reserve(writers);
    std::vector<int> failures(writers, 0);
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&, writer] {
            const std::string content(5'000, static_cast<char>('a' + writer));
            for (int round = 0; round < rounds; ++round) {
                try {
                    replaceFile(at("f"), content);
                } catch (const std::system_error&) {
                    ++failures[static_cast<std::size_t>(writer)];
                }
                const auto seen = readFile(at("f"), mebibyte);
                const bool whole = seen && seen->size() == 5'000 &&
                                   seen->find_first_not_of(seen->front()) == std::string::npos;
                if (!whole) ++failures[static_cast<std::size_t>(writer)];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(failures, ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(namesIn(folder_), ElementsAre("f"));
}

TEST_F(ReplaceFile, leaks_no_descriptor) {
    fs::create_directory(at("folder"));
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        replaceFile(at("f"), "text");
        EXPECT_NE(errorOfReplacing(at("folder"), "x"), 0);
        EXPECT_NE(errorOfReplacing(at("missing/f"), "x"), 0);
        readFile(at("f"), 1);
        readFile(at("f"), 100);
        readFile(folder_, 100);
    }
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace quillbay
