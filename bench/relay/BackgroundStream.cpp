#include "relay/BackgroundStream.h"

#include <sys/socket.h>

#include <limits>
#include <stdexcept>

namespace quillbay::bench {

namespace {

/// Ends with the connection, which is how it is stopped.
void untilBroken(void (*move)(int, std::size_t, std::size_t), int socket) {
    try {
        move(socket, std::numeric_limits<std::size_t>::max(), 0);
    } catch (const std::runtime_error&) {
        return;
    }
}

}  // namespace

BackgroundStream::BackgroundStream(const Forwarder& through, const Target& target, int offset)
    : connection_(connectThrough(through, target, offset)),
      sending_(std::async(std::launch::async, untilBroken, sendAll, connection_.client.get())),
      receiving_(std::async(std::launch::async, untilBroken, receiveAll, connection_.server.get())) {}

BackgroundStream::~BackgroundStream() {
    ::shutdown(connection_.client.get(), SHUT_RDWR);
    ::shutdown(connection_.server.get(), SHUT_RDWR);
}

}  // namespace quillbay::bench
