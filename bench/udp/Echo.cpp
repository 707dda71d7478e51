#include "udp/Echo.h"

#include <poll.h>

#include "platform/Sockets.h"
#include "udp/Batch.h"

namespace quillbay::bench {

void enlargeReceiveBuffer(int socket) {
    const int bytes = 4 << 20;
    ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

Echo::Echo() : socket_(bindUDP("127.0.0.1", 0)), port_(boundPort(socket_.get())) {
    enlargeReceiveBuffer(socket_.get());
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

void Echo::run(const std::stop_token& stop) const {
    Batch batch;
    pollfd asked{socket_.get(), POLLIN, 0};
    constexpr int askAgainMilliseconds = 50;
    while (!stop.stop_requested()) {
        if (::poll(&asked, 1, askAgainMilliseconds) <= 0) continue;
        while (const std::size_t count = batch.receive(socket_.get()))
            batch.sendBack(socket_.get(), count);
    }
}

}  // namespace quillbay::bench
