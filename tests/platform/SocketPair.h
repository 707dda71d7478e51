#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "platform/Sockets.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::test {

/// Two datagram sockets that are directed at each other.
struct SocketPair {
    UniqueDescriptor near = bindUDP("127.0.0.1", 0);
    UniqueDescriptor far = bindUDP("127.0.0.1", 0);
    SocketPair() { direct(near, far), direct(far, near); }

    /// Something to receive for the near one.
    void arrive() const { EXPECT_EQ(::send(far.get(), "x", 1, 0), 1); }
    /// Takes one datagram out.
    bool receive() const {
        char byte = 0;
        return ::recv(near.get(), &byte, 1, 0) == 1;
    }

 private:
    static void direct(const UniqueDescriptor& from, const UniqueDescriptor& to) {
        const sockaddr_in address = ipv4Endpoint("127.0.0.1", boundPort(to.get()));
        EXPECT_EQ(::connect(from.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
};

}  // namespace quillbay::test
