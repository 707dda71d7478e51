#include "platform/LocalSockets.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

sockaddr_un localEndpoint(const std::filesystem::path& path) {
    const std::string& text = path.native();
    sockaddr_un endpoint{};
    endpoint.sun_family = AF_UNIX;
    // One byte stays zero: the end of the text.
    const std::size_t longest = sizeof endpoint.sun_path - 1;
    if (text.size() > longest)
        throw std::runtime_error(
            fmt::format("The path of the socket has {} bytes, and this system takes at most {}: {}",
                        text.size(), longest, text));
    std::copy(text.begin(), text.end(), endpoint.sun_path);
    return endpoint;
}

}  // namespace

UniqueDescriptor listenLocal(const std::filesystem::path& path) {
    // Connections that wait to be accepted; a client that finds the queue full is refused.
    constexpr int backlog = 1024;
    const sockaddr_un endpoint = localEndpoint(path);
    UniqueDescriptor listener = openSocket(AF_UNIX, SOCK_STREAM);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0)
        throw systemError(errno);
    // Nobody can connect before it listens.
    if (::chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || ::listen(listener.get(), backlog) != 0) {
        const int error = errno;
        ::unlink(path.c_str());
        throw systemError(error);
    }
    return listener;
}

UniqueDescriptor connectLocal(const std::filesystem::path& path) {
    const sockaddr_un endpoint = localEndpoint(path);
    UniqueDescriptor connected = openSocket(AF_UNIX, SOCK_STREAM);
    int result = 0;
    do {
        result = ::connect(connected.get(), reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint);
    } while (result != 0 && errno == EINTR);
    if (result != 0) throw systemError(errno);
    return connected;
}

}  // namespace quillbay
