#include "platform/SocketPoller.h"

#include "platform/posix/PlainSocketPoller.h"

namespace quillbay {

std::unique_ptr<SocketPoller> makeSocketPoller() {
    return plain::makeSocketPoller();
}

}  // namespace quillbay
