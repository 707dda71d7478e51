#include "platform/DescriptorShares.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <utility>

#include "platform/DescriptorLimit.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

constexpr rlim_t leastLimit = 1024;
/// Four children at a time, a few files and a crowd of terminals need less.
constexpr rlim_t mostForProgram = 128;
/// Some hundreds of connections.
constexpr rlim_t mostForRelays = 1024;

/// That descriptors were short when one was last asked for.
std::atomic<bool> shortOfDescriptors = false;

rlim_t leftToOthers(DescriptorUse use, rlim_t limit) {
    const rlim_t program = std::min(limit / 64, mostForProgram);
    return use == DescriptorUse::relay ? program : program + std::min(limit / 16, mostForRelays);
}

/// The system gives the lowest number that is free, so the number tells how many there are at least.
bool isBelowShareOfOthers(int descriptor, DescriptorUse use, rlim_t limit) {
    if (limit < leastLimit) return true;
    return static_cast<rlim_t>(descriptor) < limit - leftToOthers(use, limit);
}

bool isWithinShare(int descriptor, DescriptorUse use) {
    // The known limit may be too low by now, if somebody else has raised it.
    return isBelowShareOfOthers(descriptor, use, knownDescriptorLimit()) ||
           isBelowShareOfOthers(descriptor, use, refreshDescriptorLimit());
}

}  // namespace

UniqueDescriptor withinShare(UniqueDescriptor opened, DescriptorUse use) {
    if (isWithinShare(opened.get(), use)) return opened;
    if (use == DescriptorUse::relay) shortOfDescriptors = true;
    throw systemError(EMFILE);
}

bool connectionsHaveRoom() {
    if (!shortOfDescriptors) return true;
    const UniqueDescriptor next(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!next.valid() && errno == EMFILE) return false;
    if (next.valid() && !isWithinShare(next.get(), DescriptorUse::relay)) return false;
    shortOfDescriptors = false;
    return true;
}

}  // namespace quillbay
