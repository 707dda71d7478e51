#include <sys/socket.h>

#include <cerrno>

#include "platform/LocalSockets.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"
#include "platform/posix/SystemSockets.h"

namespace quillbay {

UniqueDescriptor openSocket(int family, int type) {
    UniqueDescriptor opened(::socket(family, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!opened.valid()) throw systemError(errno);
    return opened;
}

UniqueDescriptor acceptConnection(int listener, int& error) {
    UniqueDescriptor accepted(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    error = accepted.valid() ? 0 : errno;
    return accepted;
}

// Address reuse would let two programs share the port here; a closed port is free at once without it.
int prepareDatagramBind(int /*descriptor*/) {
    return 0;
}

int noSignalFlag() {
    return MSG_NOSIGNAL;
}

std::optional<uid_t> peerUser(int descriptor) {
    ucred peer{};
    socklen_t length = sizeof peer;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return std::nullopt;
    return peer.uid;
}

}  // namespace quillbay
