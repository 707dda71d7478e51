#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/LocalSockets.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"
#include "platform/posix/SystemSockets.h"

namespace quillbay {

namespace {

bool turnOn(int descriptor, int option) {
    const int on = 1;
    return ::setsockopt(descriptor, SOL_SOCKET, option, &on, sizeof on) == 0;
}

/// Nothing here sets these in one step with the socket's creation.
bool prepare(int descriptor) {
    return ::fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0 && ::fcntl(descriptor, F_SETFL, O_NONBLOCK) == 0;
}

}  // namespace

UniqueDescriptor openSocket(int family, int type) {
    UniqueDescriptor opened(::socket(family, type, 0));
    if (!opened.valid() || !prepare(opened.get())) throw systemError(errno);
    const bool sends = family == AF_INET || family == AF_UNIX;
    if (sends && !turnOn(opened.get(), SO_NOSIGPIPE)) throw systemError(errno);
    return opened;
}

UniqueDescriptor acceptConnection(int listener, int& error) {
    UniqueDescriptor accepted(::accept(listener, nullptr, nullptr));
    error = accepted.valid() ? 0 : errno;
    if (accepted.valid() && !(prepare(accepted.get()) && turnOn(accepted.get(), SO_NOSIGPIPE))) {
        // Refused for a connection whose sender has closed it already: only this one is lost.
        error = ECONNABORTED;
        accepted.reset();
    }
    return accepted;
}

// Here address reuse shares multicast addresses only, so a port that is taken is still refused.
int prepareDatagramBind(int descriptor) {
    return turnOn(descriptor, SO_REUSEADDR) ? 0 : -1;
}

int noSignalFlag() {
    return 0;
}  // every socket has SO_NOSIGPIPE

std::optional<uid_t> peerUser(int descriptor) {
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(descriptor, &user, &group) != 0) return std::nullopt;
    return user;
}

}  // namespace quillbay
