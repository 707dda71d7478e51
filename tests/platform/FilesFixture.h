#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace quillbay {

/// A folder of the test's own.
class FilesFixture : public testing::Test {
 public:
    FilesFixture() {
        std::string pattern = (std::filesystem::temp_directory_path() / "files-test-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        ::chmod(folder_.c_str(), 0755);
    }
    ~FilesFixture() override { std::filesystem::remove_all(folder_); }
    FilesFixture(const FilesFixture&) = delete;
    FilesFixture& operator=(const FilesFixture&) = delete;

 protected:
    [[nodiscard]] std::filesystem::path at(const std::string& name) const { return folder_ / name; }

    static std::vector<std::string> namesIn(const std::filesystem::path& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        return names;
    }

    static void write(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path) << text;
    }

    static mode_t modeOf(const std::filesystem::path& path) {
        struct stat status{};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    std::filesystem::path folder_;
};

}  // namespace quillbay
