#include "platform/posix/SystemFiles.h"

#include <fcntl.h>
#include <unistd.h>

namespace quillbay {

int syncToDisk(int descriptor) {
    // fsync(2) here stops at the disk's own cache. Only file systems that know how can go further.
    if (::fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
    return ::fsync(descriptor);
}

}  // namespace quillbay
