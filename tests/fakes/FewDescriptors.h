#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <vector>

#include "platform/UniqueDescriptor.h"

namespace quillbay::fakes {

/// Lets this process open only so many descriptors more, while it lives.
class FewDescriptors {
 public:
    explicit FewDescriptors(int spare) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        // A new descriptor takes the lowest number that is free, so the first one that must fail shows the
        // limit.
        std::vector<UniqueDescriptor> taken;
        for (int i = 0; i <= spare; ++i)
            taken.emplace_back(::dup(0));
        const rlimit few{static_cast<rlim_t>(taken.back().get()), before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
    rlimit before_{};
};

}  // namespace quillbay::fakes
