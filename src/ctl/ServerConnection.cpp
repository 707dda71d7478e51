#include "ctl/ServerConnection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "platform/LocalSockets.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay::ctl {

namespace {

UniqueDescriptor connected(const std::filesystem::path& path) {
    try {
        return connectLocal(path);
    } catch (const std::system_error& error) {
        const int code = error.code().value();
        // A missing folder, a missing socket, and one that a killed program has left.
        if (code == ENOENT || code == ENOTDIR || code == ECONNREFUSED)
            throw NothingRunning("Nothing is running: start quillbay or quillbay-agent.");
        throw;
    }
}

/// Blocks until there is something to read from `socket`. Throws ReaderGone when the reader of `output` goes
/// first.
void awaitInput(int socket, int output) {
    std::array<pollfd, 2> entries{pollfd{socket, POLLIN, 0}, pollfd{output, 0, 0}};
    while (entries[0].revents == 0) {
        if (::poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR) throw systemError(errno);
        // A closed output is none that could lose its reader.
        if ((entries[1].revents & POLLNVAL) != 0) entries[1].fd = -1;
        if ((entries[1].revents & (POLLERR | POLLHUP)) != 0) throw ReaderGone();
    }
}

}  // namespace

ServerConnection::ServerConnection(const std::filesystem::path& path) : socket_(connected(path)) {
    if (peerUser(socket_.get()) != ::geteuid())
        throw std::runtime_error("The program that listens at " + path.native() + " is another user's.");
    const int flags = ::fcntl(socket_.get(), F_GETFL);
    if (flags < 0 || ::fcntl(socket_.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) throw systemError(errno);
}

void ServerConnection::send(std::string_view request) {
    std::string line(request);
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t sent = ::send(socket_.get(), rest.data(), rest.size(), noSignalFlag());
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EPIPE || errno == ECONNRESET)) return;
        if (sent < 0) throw systemError(errno);
        rest.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::optional<std::string> ServerConnection::receive(int output) {
    while (true) {
        const std::size_t end = input_.find('\n', searched_);
        if (end != std::string::npos) {
            std::string document = input_.substr(0, end);
            input_.erase(0, end + 1);
            searched_ = 0;
            return document;
        }
        searched_ = input_.size();
        if (input_.size() > maxDocumentBytes) throw std::runtime_error("The answer is too long.");
        awaitInput(socket_.get(), output);
        std::array<char, 65536> chunk{};
        const ssize_t count = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno != ECONNRESET) throw systemError(errno);
        if (count <= 0) return std::nullopt;
        input_.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace quillbay::ctl
