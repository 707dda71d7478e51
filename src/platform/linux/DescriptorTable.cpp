#include "platform/DescriptorTable.h"

#include <fcntl.h>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

void reserveDescriptors(std::size_t count) {
    if (count == 0) return;
    // The table grows to hold the number that is asked for, and stays. A refusal leaves everything as it was.
    const UniqueDescriptor any(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const UniqueDescriptor last(::fcntl(any.get(), F_DUPFD_CLOEXEC, static_cast<int>(count - 1)));
}

}  // namespace quillbay
