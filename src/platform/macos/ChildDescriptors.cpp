#include "platform/posix/ChildDescriptors.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/PrintedError.h"

namespace quillbay {

PipeEnds openPipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw systemError(errno);
    PipeEnds pipe{UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
    // A child that another thread starts before this has marked the ends itself (closeOnExecFrom).
    for (const int end : ends)
        if (::fcntl(end, F_SETFD, FD_CLOEXEC) != 0) throw systemError(errno);
    return pipe;
}

void closeOnExecFrom(int lowest) noexcept {
    // The limit may be unlimited, while the kernel grants far fewer; a program with some thousand sockets has
    // no descriptor beyond this bound.
    constexpr rlim_t bound = 65'536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) limit.rlim_cur = bound;
    const int end = static_cast<int>(std::min(limit.rlim_cur, bound));
    for (int descriptor = lowest; descriptor < end; ++descriptor)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

}  // namespace quillbay
