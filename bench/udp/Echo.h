#pragma once

#include <cstdint>
#include <stop_token>
#include <thread>

#include "platform/UniqueDescriptor.h"

namespace quillbay::bench {

/// The far end of every flow: a thread that sends each datagram back to where it came from.
class Echo {
 public:
    Echo();
    [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
    void run(const std::stop_token& stop) const;

    UniqueDescriptor socket_;
    std::uint16_t port_ = 0;
    std::jthread thread_;
};

/// Enough room for everything that can be on its way, so that what is lost is lost in between.
void enlargeReceiveBuffer(int socket);

}  // namespace quillbay::bench
