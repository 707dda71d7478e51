#include "core/DiagnosticsArchive.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "core/DiagnosticsError.h"
#include "core/ZipContents.h"
#include "fakes/ProcessResources.h"
#include "fakes/TemporaryFolder.h"
#include "platform/Files.h"
#include "platform/ForkedChild.h"
#include "platform/PrintedError.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using fakes::zipContents;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::chrono::seconds generous{20};

mode_t modeOf(const fs::path& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

std::string contentOf(const fs::path& path) {
    return readFile(path, 1 << 20).value_or("unreadable");
}

/// A stand-in for the tool that does what the shell is told; "$3" is the archive.
HostTools::Tool shell(const std::string& script) {
    return {"/bin/sh", {"-c", script, "zip"}};
}

class DiagnosticsArchiveTest : public fakes::LeavesNothingBehind {
 protected:
    [[nodiscard]] static DiagnosticsArchive with(HostTools::Tool zip,
                                                 std::chrono::milliseconds limit = generous) {
        return {std::move(zip), limit};
    }
    [[nodiscard]] static DiagnosticsArchive real() { return with({"/usr/bin/zip", {}}); }

    /// The printed error of `make`; empty when there is none.
    std::string failure(const DiagnosticsArchive& archive, const StopToken& token = {}) {
        try {
            archive.make(folder, zip, "text", token);
        } catch (const std::exception& error) {
            return printedError(error);
        }
        return "";
    }

    std::string failureAnywhere(const DiagnosticsArchive& archive, const fs::path& file) {
        try {
            archive.makeAnywhere(temporary, file, "text", {});
        } catch (const std::exception& error) {
            return printedError(error);
        }
        return "";
    }

    fakes::TemporaryFolder surroundings;
    const fs::path temporary = surroundings.path() / "tmp";
    const fs::path folder = temporary / "quillbay-diagnostics-2026-01-31_14-05-09";
    const fs::path zip = temporary / "quillbay-diagnostics-2026-01-31_14-05-09.zip";
    const fs::path target = surroundings.path() / "report.zip";
};

TEST_F(DiagnosticsArchiveTest, packs_the_log_for_this_user_alone) {
    const mode_t before = ::umask(0);
    real().make(folder, zip, "a header\nünïcode\n", {});
    ::umask(before);
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "a header\nünïcode\n")));
    EXPECT_EQ(contentOf(folder / "diagnostics.log"), "a header\nünïcode\n");
    EXPECT_EQ(modeOf(temporary), 0700U);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(folder / "diagnostics.log"), 0600U);
    EXPECT_EQ(modeOf(zip), 0600U);
}

TEST_F(DiagnosticsArchiveTest, what_is_no_text_does_not_get_into_the_log) {
    real().make(folder, zip, "one\xFFtwo", {});
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "one\uFFFDtwo")));
}

TEST_F(DiagnosticsArchiveTest, an_older_folder_and_archive_of_the_same_names_go_first) {
    fs::create_directories(folder / "below");
    std::ofstream(folder / "below" / "old") << "old";
    // With a file of another name, which would stay in an archive that is added to.
    std::ofstream(temporary / "older.log") << "old";
    real().zip(temporary / "older.log", zip, {});
    ASSERT_THAT(zipContents(zip), ElementsAre(Pair("older.log", "old")));
    real().make(folder, zip, "new", {});
    EXPECT_FALSE(fs::exists(folder / "below"));
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "new")));
}

TEST_F(DiagnosticsArchiveTest, a_link_under_the_name_goes_and_what_it_names_stays) {
    const fs::path precious = surroundings.path() / "precious";
    fs::create_directories(precious);
    fs::create_directories(temporary);
    std::ofstream(precious / "file") << "kept";
    fs::create_directory_symlink(precious, folder);
    fs::create_symlink(precious / "file", zip);
    real().make(folder, zip, "text", {});
    EXPECT_EQ(contentOf(precious / "file"), "kept");
    EXPECT_FALSE(fs::exists(precious / "diagnostics.log"));
    EXPECT_FALSE(fs::is_symlink(folder));
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "text")));
}

TEST_F(DiagnosticsArchiveTest, what_belongs_to_another_user_is_neither_used_nor_removed) {
    if (::geteuid() != 0) return;  // only root can give a folder away
    constexpr uid_t stranger = 65534;
    fs::create_directories(folder);
    ASSERT_EQ(::chown(folder.c_str(), stranger, stranger), 0);
    EXPECT_EQ(failure(real()), "“" + folder.string() + "” belongs to another user.");
    EXPECT_TRUE(fs::exists(folder));
    EXPECT_FALSE(fs::exists(folder / "diagnostics.log"));
    fs::remove(folder);
    std::ofstream(zip) << "theirs";
    ASSERT_EQ(::chown(zip.c_str(), stranger, stranger), 0);
    EXPECT_EQ(failure(real()), "“" + zip.string() + "” belongs to another user.");
    EXPECT_EQ(contentOf(zip), "theirs");
}

TEST_F(DiagnosticsArchiveTest, an_unwritable_temporary_folder_is_an_error_of_the_system) {
    fs::create_directories(temporary);
    fs::permissions(temporary, fs::perms::owner_read | fs::perms::owner_exec);
    const std::string expected = "POSIXErrorCode(rawValue: 13): Permission denied";
    inChild([&] {
        constexpr uid_t nobody = 65534;
        if (::geteuid() == 0) {
            fs::permissions(surroundings.path(), fs::perms::all);
            fs::permissions(temporary, fs::perms::others_read | fs::perms::others_exec);
            ASSERT_EQ(::setuid(nobody), 0);
        }
        EXPECT_EQ(failure(real()), expected);
    });
}

TEST_F(DiagnosticsArchiveTest, a_temporary_folder_that_cannot_be_is_an_error_of_the_system) {
    std::ofstream(temporary) << "a file";
    EXPECT_EQ(failure(real()), "POSIXErrorCode(rawValue: 20): Not a directory");
}

TEST_F(DiagnosticsArchiveTest, a_failing_zip_is_described_by_what_it_says) {
    const auto archive = with(shell("echo ' \n zip error: disk full\n' >&2; echo noise; exit 15"));
    try {
        archive.make(folder, zip, "text", {});
        FAIL() << "no error";
    } catch (const DiagnosticsError& error) {
        EXPECT_STREQ(DiagnosticsError::domain, "Quillbay.Diagnostics");
        EXPECT_EQ(error.code(), 15);
        EXPECT_STREQ(error.what(), "zip error: disk full");
    }
    EXPECT_EQ(contentOf(folder / "diagnostics.log"), "text");
}

TEST_F(DiagnosticsArchiveTest, a_zip_that_fails_without_a_word_is_described_by_its_status) {
    EXPECT_EQ(failure(with(shell("echo ' ' >&2; exit 7"))), "zip exited with status 7");
    EXPECT_EQ(failure(with(shell("kill -9 $$"))), "zip exited with status 137");
}

TEST_F(DiagnosticsArchiveTest, a_missing_zip_is_passed_on_as_it_is) {
    EXPECT_EQ(failure(with({(surroundings.path() / "zip").string(), {}})),
              "POSIXErrorCode(rawValue: 2): No such file or directory");
}

TEST_F(DiagnosticsArchiveTest, a_zip_that_hangs_fails_at_its_limit) {
    EXPECT_EQ(failure(with(shell("exec sleep 600"), std::chrono::milliseconds(100))),
              "zip did not end within 1 seconds");
}

TEST_F(DiagnosticsArchiveTest, a_stop_ends_a_zip_that_hangs) {
    const StopSource source;
    source.requestStop();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(failure(with(shell("exec sleep 600")), source.token()), "zip was abandoned");
    EXPECT_LT(std::chrono::steady_clock::now() - before, generous);
}

TEST_F(DiagnosticsArchiveTest, an_archive_that_is_not_there_or_not_private_is_refused) {
    const std::string refusal = "“" + zip.string() + "” is not the file that was made.";
    EXPECT_EQ(failure(with(shell("exit 0"))), refusal);
    EXPECT_EQ(failure(with(shell("echo x > \"$3\"; chmod 644 \"$3\""))), refusal);
    EXPECT_EQ(failure(with(shell("ln -s /dev/null \"$3\""))), refusal);
}

TEST_F(DiagnosticsArchiveTest, the_tool_gets_the_arguments_for_a_quiet_archive_without_folders) {
    const fs::path record = surroundings.path() / "arguments";
    with(shell("printf '%s|' \"$@\" > '" + record.string() + "'; echo x > \"$3\""))
        .make(folder, zip, "text", {});
    EXPECT_EQ(contentOf(record), "-q|-j|" + zip.string() + "|" + (folder / "diagnostics.log").string() + "|");
}

TEST_F(DiagnosticsArchiveTest, a_report_to_a_file_replaces_it_in_one_step_and_leaves_nothing_else) {
    std::ofstream(target) << "older";
    fs::permissions(target, fs::perms::all);
    real().makeAnywhere(temporary, target, "a header\n", {});
    EXPECT_THAT(zipContents(target), ElementsAre(Pair("diagnostics.log", "a header\n")));
    EXPECT_EQ(modeOf(target), 0600U);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(DiagnosticsArchiveTest, what_a_killed_program_left_of_a_report_to_a_file_goes) {
    makeDirectories(temporary / "quillbay-report-Ab3dE6/log");
    std::ofstream(temporary / "quillbay-report-Ab3dE6/log/diagnostics.log") << "private";
    makeDirectories(folder);  // of a report to the support team, whose mail may not have been sent yet
    DiagnosticsArchive::removeLeftOver(temporary);
    EXPECT_FALSE(fs::exists(temporary / "quillbay-report-Ab3dE6"));
    EXPECT_TRUE(fs::exists(folder));
}

TEST_F(DiagnosticsArchiveTest, a_report_that_fails_leaves_the_older_file_and_nothing_else) {
    std::ofstream(target) << "older";
    EXPECT_EQ(failureAnywhere(with(shell("echo part > \"$3\"; exit 3")), target), "zip exited with status 3");
    EXPECT_EQ(contentOf(target), "older");
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(DiagnosticsArchiveTest, a_report_cannot_be_written_to_what_is_no_file) {
    const std::string here = surroundings.path().string();
    EXPECT_EQ(failureAnywhere(real(), "report.zip"),
              "The report cannot be written to “report.zip”: the path is not absolute.");
    EXPECT_EQ(failureAnywhere(real(), surroundings.path()),
              "The report cannot be written to “" + here + "”: it is a folder.");
    EXPECT_EQ(failureAnywhere(real(), surroundings.path() / ""),
              "The report cannot be written to “" + here + "/”: it is a folder.");
    EXPECT_EQ(failureAnywhere(real(), "/dev/null"),
              "The report cannot be written to “/dev/null”: it is not a file.");
    EXPECT_EQ(failureAnywhere(real(), surroundings.path() / "none" / "report.zip"),
              "The report cannot be written to “" + here + "/none/report.zip”: No such file or directory (“" +
                  here + "/none”).");
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(DiagnosticsArchiveTest, a_report_cannot_be_written_into_a_folder_that_takes_no_file) {
    const fs::path closed = surroundings.path() / "closed";
    fs::create_directories(closed);
    inChild([&] {
        constexpr uid_t nobody = 65534;
        fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                    fs::perms::others_exec);
        if (::geteuid() == 0) {
            fs::permissions(surroundings.path(), fs::perms::all);
            ASSERT_EQ(::setuid(nobody), 0);
        }
        EXPECT_EQ(
            failureAnywhere(real(), closed / "report.zip"),
            "The report cannot be written to “" + (closed / "report.zip").string() + "”: Permission denied.");
        EXPECT_TRUE(fs::is_empty(temporary));
    });
    EXPECT_TRUE(fs::is_empty(closed));
}

}  // namespace
}  // namespace quillbay
