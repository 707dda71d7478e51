#include "ControlFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

// Only bare system calls here: the functions of the C library are those that this library stands in front of.

namespace quillbay::faults {

namespace {

bool isTheProgram() noexcept {
    const char* const wanted = std::getenv("QUILLBAY_FAULTS_PROGRAM");
    if (wanted == nullptr) return false;
    std::array<char, 4096> path{};
    const long length = ::syscall(SYS_readlink, "/proc/self/exe", path.data(), path.size());
    if (length <= 0) return false;
    const std::string_view whole(path.data(), static_cast<std::size_t>(length));
    return whole.substr(whole.rfind('/') + 1) == wanted;
}

}  // namespace

ControlFile* openControlFile() noexcept {
    const char* const path = std::getenv("QUILLBAY_FAULTS");
    if (path == nullptr || !isTheProgram()) return nullptr;
    const long descriptor = ::syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    // Past its end a mapped file kills whoever looks.
    const bool wholeFile =
        ::syscall(SYS_lseek, descriptor, 0, SEEK_END) >= static_cast<long>(sizeof(ControlFile));
    void* const memory = wholeFile ? ::mmap(nullptr, sizeof(ControlFile), PROT_READ | PROT_WRITE, MAP_SHARED,
                                            static_cast<int>(descriptor), 0)
                                   : MAP_FAILED;
    ::syscall(SYS_close, descriptor);
    if (memory == MAP_FAILED) return nullptr;
    auto* const file = static_cast<ControlFile*>(memory);
    file->functionCount = static_cast<std::uint32_t>(functionNames.size());
    file->siteCapacity = static_cast<std::uint32_t>(maxSites);
    for (std::size_t index = 0; index < functionNames.size(); ++index)
        functionNames[index].copy(file->names[index].data(), nameBytes - 1);
    file->magic = readyMagic;
    return file;
}

}  // namespace quillbay::faults
