#include "bridge/StopPipe.h"

#include <unistd.h>

#include <utility>

#include "platform/posix/ChildDescriptors.h"

namespace quillbay {

StopPipe::StopPipe(const StopToken& token) {
    PipeEnds ends = openPipe();
    reading_ = std::move(ends.reading);
    writing_ = std::move(ends.writing);
    registration_ = token.onStop([end = writing_.get()] {
        const char byte = 0;
        // One byte always fits into an empty pipe, and there is only ever one.
        [[maybe_unused]] const ssize_t written = ::write(end, &byte, 1);
    });
}

}  // namespace quillbay
