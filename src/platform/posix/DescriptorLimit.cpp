#include "platform/DescriptorLimit.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace quillbay {

namespace {

std::mutex originalMutex;
std::optional<rlimit> original;
// Nothing before it was asked for: there is no limit of zero descriptors in a process that runs.
std::atomic<rlim_t> known = 0;

rlimit currentLimit() {
    rlimit limit{};
    // Cannot fail: the resource exists and the address is good.
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return limit;
}

}  // namespace

rlim_t raiseDescriptorLimit() {
    const rlimit before = currentLimit();
    {
        const std::lock_guard lock(originalMutex);
        if (!original) original = before;
    }
    rlimit wanted = before;
    wanted.rlim_cur = before.rlim_max;
    if (before.rlim_cur == wanted.rlim_cur || ::setrlimit(RLIMIT_NOFILE, &wanted) == 0)
        return refreshDescriptorLimit();
    // The Mac refuses "unlimited" and has no constant for what it does take.
    constexpr rlim_t highest = rlim_t{1} << 20U;
    for (rlim_t soft = highest; soft > before.rlim_cur; soft /= 2) {
        wanted.rlim_cur = soft;
        if (::setrlimit(RLIMIT_NOFILE, &wanted) == 0) break;
    }
    return refreshDescriptorLimit();
}

rlim_t knownDescriptorLimit() {
    const rlim_t limit = known;
    return limit != 0 ? limit : refreshDescriptorLimit();
}

rlim_t refreshDescriptorLimit() {
    const rlim_t limit = currentLimit().rlim_cur;
    known = limit;
    return limit;
}

rlimit originalDescriptorLimit() {
    const std::lock_guard lock(originalMutex);
    return original ? *original : currentLimit();
}

}  // namespace quillbay
