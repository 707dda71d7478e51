#include "bridge/ReceiveBuffer.h"

#include <memory>

namespace quillbay {

ReceiveBuffer& receiveBuffer() {
    // On the heap, so that threads that relay nothing have none.
    thread_local const auto buffer = std::make_unique<ReceiveBuffer>();
    return *buffer;
}

}  // namespace quillbay
