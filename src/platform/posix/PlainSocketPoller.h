#pragma once

#include <memory>

#include "platform/SocketPoller.h"

namespace quillbay::plain {

/// The poller for every system that Asio knows: what a socket is watched for is asked anew after each time
/// that it was told of.
std::unique_ptr<SocketPoller> makeSocketPoller();

}  // namespace quillbay::plain
