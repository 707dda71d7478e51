#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "platform/Sockets.h"
#include "platform/StreamMover.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::test {

/// Two ends of a TCP connection: the writer's and the reader's, both without blocking.
struct Stream {
    UniqueDescriptor in;
    UniqueDescriptor out;

    explicit Stream(int bufferBytes = 0) {
        const UniqueDescriptor listener = listenTCP("127.0.0.1", 0);
        if (bufferBytes > 0) setBuffer(listener.get(), SO_RCVBUF, bufferBytes);
        in.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (bufferBytes > 0) setBuffer(in.get(), SO_SNDBUF, bufferBytes);
        const sockaddr_in to = ipv4Endpoint("127.0.0.1", boundPort(listener.get()));
        EXPECT_EQ(::connect(in.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        int error = 0;
        while (!out.valid())
            out = acceptConnection(listener.get(), error);
        ::fcntl(in.get(), F_SETFL, O_NONBLOCK);
    }

    static void setBuffer(int socket, int which, int bytes) {
#ifdef SO_RCVBUFFORCE
        // Beyond what everybody gets, where that is allowed.
        const int beyond = which == SO_RCVBUF ? SO_RCVBUFFORCE : SO_SNDBUFFORCE;
        if (::setsockopt(socket, SOL_SOCKET, beyond, &bytes, sizeof bytes) == 0) return;
#endif
        EXPECT_EQ(::setsockopt(socket, SOL_SOCKET, which, &bytes, sizeof bytes), 0);
    }
    /// As much as the connection takes; returns how much that was.
    [[nodiscard]] std::size_t write(const std::string& bytes) const {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count = ::send(in.get(), bytes.data() + done, bytes.size() - done, noSignalFlag());
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }
    /// What waits.
    [[nodiscard]] std::string read() const {
        std::string all;
        std::string piece(65536, '\0');
        for (ssize_t count = 0; (count = ::recv(out.get(), piece.data(), piece.size(), 0)) > 0;)
            all.append(piece, 0, static_cast<std::size_t>(count));
        return all;
    }
};

inline std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 7;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

/// Waits until all that the other side has sent is there, and its end.
inline bool hasTheEnd(int socket) {
#ifdef POLLRDHUP
    pollfd asked{socket, POLLRDHUP, 0};
#else
    pollfd asked{socket, 0, 0};  // that is a hang-up there
#endif
    return ::poll(&asked, 1, 10'000) == 1;
}

inline std::string takeAll(StreamMover& mover) {
    std::string all;
    std::string piece(50'000, '\0');
    while (mover.leftBytes() > 0)
        all.append(piece, 0, mover.take(piece));
    return all;
}

}  // namespace quillbay::test
