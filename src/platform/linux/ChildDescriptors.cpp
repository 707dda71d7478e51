#include "platform/posix/ChildDescriptors.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "platform/PrintedError.h"

namespace quillbay {

PipeEnds openPipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw systemError(errno);
    return {UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
}

void closeOnExecFrom(int lowest) noexcept {
    const auto first = static_cast<unsigned>(lowest);
    if (::close_range(first, std::numeric_limits<unsigned>::max(), CLOSE_RANGE_CLOEXEC) == 0) return;
    // A kernel before 5.11, or a sandbox that does not know the call. The limit can be a thousand million,
    // and a program with some thousand sockets has no descriptor beyond this bound.
    constexpr rlim_t bound = 65'536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) limit.rlim_cur = bound;
    const int end = static_cast<int>(std::min(limit.rlim_cur, bound));
    for (int descriptor = lowest; descriptor < end; ++descriptor)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

}  // namespace quillbay
