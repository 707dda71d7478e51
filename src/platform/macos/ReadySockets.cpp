#include "platform/ReadySockets.h"

#include <utility>

#include "platform/posix/PlainReadySockets.h"

namespace quillbay {

std::unique_ptr<ReadySockets> makeReadySockets(boost::asio::io_context& loop, ReadySockets::Handler handler) {
    return plain::makeReadySockets(loop, std::move(handler));
}

}  // namespace quillbay
