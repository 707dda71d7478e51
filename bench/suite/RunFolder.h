#pragma once

#include <string>

namespace quillbay::bench {

/// A folder for the files of one peer's run, removed with the object. Throws std::runtime_error when there
/// can be none.
class RunFolder {
 public:
    RunFolder();
    ~RunFolder();
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;
    [[nodiscard]] const std::string& path() const { return path_; }

 private:
    std::string path_;
};

}  // namespace quillbay::bench
