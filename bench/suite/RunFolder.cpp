#include "suite/RunFolder.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace quillbay::bench {

RunFolder::RunFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillbay-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
}

RunFolder::~RunFolder() {
    std::error_code ignored;  // it lies where forgotten files are cleared away
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace quillbay::bench
