#pragma once

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

#include "fakes/TestHost.h"
#include "platform/LocalSockets.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::fakes {

/// A client of the control socket in the process of its server: while it waits, the main queue runs.
class ControlClient {
 public:
    ControlClient(TestHost& world, const std::filesystem::path& path)
        : world_(world), socket_(connectLocal(path)) {}

    /// False when the server has closed the connection.
    bool sendBytes(std::string_view bytes) {
        const bool allSent = world_.until([&] {
            const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count >= 0) bytes.remove_prefix(static_cast<std::size_t>(count));
            gone_ = count < 0 && errno != EAGAIN;
            return bytes.empty() || gone_;
        });
        return allSent && !gone_;
    }
    /// Sends once as much of it as the socket takes now, which is counted. False when that is nothing.
    bool trySend(std::string_view bytes, std::size_t& taken) {
        const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count > 0) taken += static_cast<std::size_t>(count);
        return count > 0;
    }
    bool send(std::string_view request) { return sendBytes(std::string(request) + "\n"); }

    /// The next document without its line feed; "(closed)" when the server closes, "(nothing)" when nothing
    /// comes.
    std::string receive() {
        std::size_t end = std::string::npos;
        world_.until([&] {
            take();
            end = input_.find('\n');
            return end != std::string::npos || ended_;
        });
        if (end == std::string::npos) return ended_ ? "(closed)" : "(nothing)";
        std::string document = input_.substr(0, end);
        input_.erase(0, end + 1);
        return document;
    }

    std::string ask(std::string_view request) {
        if (!send(request)) return "(closed)";
        return receive();
    }

    /// Whether something has come that was not asked about yet.
    bool hasReceived() {
        take();
        return !input_.empty() || ended_;
    }

    void endInput() { ::shutdown(socket_.get(), SHUT_WR); }
    void close() { socket_.reset(); }

 private:
    void take() {
        std::array<char, 65536> chunk{};
        while (!ended_) {
            const ssize_t count = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
            if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
            if (count <= 0)
                ended_ = true;
            else
                input_.append(chunk.data(), static_cast<std::size_t>(count));
        }
    }

    TestHost& world_;
    UniqueDescriptor socket_;
    std::string input_;
    bool ended_ = false;
    bool gone_ = false;
};

}  // namespace quillbay::fakes
