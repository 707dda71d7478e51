#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace quillbay::fakes {

/// A folder of a test's own, removed with everything in it afterwards.
class TemporaryFolder {
 public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quillbay-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
    std::filesystem::path path_;
};

}  // namespace quillbay::fakes
