#pragma once

#include <sys/resource.h>

#include <csignal>

namespace quillbay::fakes {

/// Whatever this process writes to a file is refused, while it lives, as on a disk without room (with EFBIG
/// in the place of ENOSPC).
class FullDisk {
 public:
    FullDisk() : signalBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit none{0, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signalBefore_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

 private:
    void (*signalBefore_)(int);
    rlimit before_{};
};

}  // namespace quillbay::fakes
