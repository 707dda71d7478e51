#pragma once

#include <memory>

#include "platform/ReadySockets.h"

namespace quillbay::plain {

/// What platform/ReadySockets.h says, one socket at a time: for systems that have no set of sockets which a
/// loop can wait for like for a socket.
std::unique_ptr<ReadySockets> makeReadySockets(boost::asio::io_context& loop, ReadySockets::Handler handler);

}  // namespace quillbay::plain
