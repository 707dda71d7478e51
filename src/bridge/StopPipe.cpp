#include "bridge/StopPipe.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix/ChildDescriptors.h"

namespace quillbay {

StopPipe::StopPipe(const StopToken& token) {
    PipeEnds ends = openPipe();
    reading_ = std::move(ends.reading);
    writing_ = std::move(ends.writing);
    registration_ = token.onStop([end = writing_.get()] {
        const char byte = 0;
        ssize_t written = 0;
        do {
            written = ::write(end, &byte, 1);
        } while (written < 0 && errno == EINTR);
        // One byte always fits into an empty pipe, and there is only ever one.
    });
}

}  // namespace quillbay
