#include "platform/StreamMover.h"

#include "platform/posix/PlainStreamMover.h"

namespace quillbay {

std::shared_ptr<StreamMover> streamMover() {
    thread_local std::weak_ptr<StreamMover> current;
    std::shared_ptr<StreamMover> mover = current.lock();
    if (!mover) current = mover = std::make_shared<PlainStreamMover>();
    return mover;
}

}  // namespace quillbay
