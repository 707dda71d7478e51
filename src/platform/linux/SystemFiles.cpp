#include "platform/posix/SystemFiles.h"

#include <unistd.h>

namespace quillbay {

int syncToDisk(int descriptor) {
    return ::fsync(descriptor);
}

}  // namespace quillbay
