#include "platform/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/FilesFixture.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

using Files = FilesFixture;

TEST_F(Files, reads_the_bytes_as_they_are) {
    const std::string bytes("a\0\r\n\xFFz", 6);
    write(at("f"), bytes);
    EXPECT_EQ(readFile(at("f"), 6), bytes);
    write(at("empty"), "");
    EXPECT_EQ(readFile(at("empty"), 0), "");
}

TEST_F(Files, refuses_a_file_above_the_limit_by_one_byte) {
    write(at("f"), std::string(10'001, 'x'));
    EXPECT_EQ(readFile(at("f"), 10'000), std::nullopt);
    EXPECT_EQ(readFile(at("f"), 10'001), std::string(10'001, 'x'));
}

TEST_F(Files, limits_what_reports_no_size_of_its_own) {
    EXPECT_EQ(readFile("/proc/self/maps", 16), std::nullopt);
    EXPECT_GT(readFile("/proc/self/maps", mebibyte).value_or("").size(), 16U);
}

TEST_F(Files, reads_nothing_but_regular_files_and_never_waits_for_one) {
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    fs::create_directory(at("folder"));
    EXPECT_EQ(readFile(at("pipe"), 100), std::nullopt);
    EXPECT_EQ(readFile(at("folder"), 100), std::nullopt);
    EXPECT_EQ(readFile(at("missing"), 100), std::nullopt);
    EXPECT_EQ(readFile("/dev/zero", 100), std::nullopt);
}

TEST_F(Files, makes_the_missing_directories_and_leaves_the_others) {
    fs::create_directory(at("a"));
    ::chmod(at("a").c_str(), 0755);
    makeDirectories(at("a/b/c/"));
    makeDirectories(at("a/b/c"));
    EXPECT_TRUE(fs::is_directory(at("a/b/c")));
    EXPECT_EQ(modeOf(at("a")), 0755U);
    EXPECT_EQ(modeOf(at("a/b")), 0700U);
    EXPECT_EQ(modeOf(at("a/b/c")), 0700U);
    makeDirectories("/");
    fs::create_directory_symlink("a", at("link"));
    makeDirectories(at("link/d"));
    EXPECT_TRUE(fs::is_directory(at("a/d")));
}

TEST_F(Files, makes_no_directory_where_a_file_is_in_the_way) {
    write(at("f"), "text");
    EXPECT_THROW(makeDirectories(at("f")), std::system_error);
    EXPECT_THROW(makeDirectories(at("f/g")), std::system_error);
    EXPECT_THROW(makeDirectories(""), std::system_error);
    EXPECT_EQ(readFile(at("f"), 100), "text");
}

TEST_F(Files, knows_an_executable_file) {
    write(at("tool"), "#!/bin/sh\n");
    EXPECT_FALSE(isExecutableFile(at("tool")));
    ::chmod(at("tool").c_str(), 0700);
    EXPECT_TRUE(isExecutableFile(at("tool")));
    fs::create_symlink("tool", at("link"));
    EXPECT_TRUE(isExecutableFile(at("link")));
    EXPECT_FALSE(isExecutableFile(folder_));
    EXPECT_FALSE(isExecutableFile(at("missing")));
    EXPECT_FALSE(isExecutableFile(""));
}

}  // namespace
}  // namespace quillbay
