// The functions for sockets, as the program calls them.

#include <sys/socket.h>
#include <sys/types.h>

#include "Faults.h"

using quillbay::faults::callOrFail;

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    return callOrFail<"socket">(-1, domain, type, protocol);
}

int socketpair(int domain, int type, int protocol, int* sockets) noexcept {
    return callOrFail<"socketpair">(-1, domain, type, protocol, sockets);
}

int bind(int socket, const sockaddr* address, socklen_t length) noexcept {
    return callOrFail<"bind">(-1, socket, address, length);
}

int listen(int socket, int backlog) noexcept {
    return callOrFail<"listen">(-1, socket, backlog);
}

int accept(int socket, sockaddr* address, socklen_t* length) {
    return callOrFail<"accept">(-1, socket, address, length);
}

int accept4(int socket, sockaddr* address, socklen_t* length, int flags) {
    return callOrFail<"accept4">(-1, socket, address, length, flags);
}

int connect(int socket, const sockaddr* address, socklen_t length) {
    return callOrFail<"connect">(-1, socket, address, length);
}

ssize_t send(int socket, const void* data, size_t size, int flags) {
    return callOrFail<"send">(ssize_t{-1}, socket, data, size, flags);
}

ssize_t sendto(int socket, const void* data, size_t size, int flags, const sockaddr* address,
               socklen_t length) {
    return callOrFail<"sendto">(ssize_t{-1}, socket, data, size, flags, address, length);
}

ssize_t sendmsg(int socket, const msghdr* message, int flags) {
    return callOrFail<"sendmsg">(ssize_t{-1}, socket, message, flags);
}

int sendmmsg(int socket, mmsghdr* messages, unsigned count, int flags) {
    return callOrFail<"sendmmsg">(-1, socket, messages, count, flags);
}

ssize_t recv(int socket, void* data, size_t size, int flags) {
    return callOrFail<"recv">(ssize_t{-1}, socket, data, size, flags);
}

ssize_t recvfrom(int socket, void* data, size_t size, int flags, sockaddr* address, socklen_t* length) {
    return callOrFail<"recvfrom">(ssize_t{-1}, socket, data, size, flags, address, length);
}

ssize_t recvmsg(int socket, msghdr* message, int flags) {
    return callOrFail<"recvmsg">(ssize_t{-1}, socket, message, flags);
}

int recvmmsg(int socket, mmsghdr* messages, unsigned count, int flags, timespec* limit) {
    return callOrFail<"recvmmsg">(-1, socket, messages, count, flags, limit);
}

int getsockopt(int socket, int level, int name, void* value, socklen_t* length) noexcept {
    return callOrFail<"getsockopt">(-1, socket, level, name, value, length);
}

int setsockopt(int socket, int level, int name, const void* value, socklen_t length) noexcept {
    return callOrFail<"setsockopt">(-1, socket, level, name, value, length);
}

int getsockname(int socket, sockaddr* address, socklen_t* length) noexcept {
    return callOrFail<"getsockname">(-1, socket, address, length);
}

int getpeername(int socket, sockaddr* address, socklen_t* length) noexcept {
    return callOrFail<"getpeername">(-1, socket, address, length);
}

int shutdown(int socket, int how) noexcept {
    return callOrFail<"shutdown">(-1, socket, how);
}

// The forms that the compiler calls where it knows how large the buffer is.

ssize_t __recv_chk(int socket, void* data, size_t size, size_t, int flags) {
    return callOrFail<"recv">(ssize_t{-1}, socket, data, size, flags);
}

ssize_t __recvfrom_chk(int socket, void* data, size_t size, size_t, int flags, sockaddr* address,
                       socklen_t* length) {
    return callOrFail<"recvfrom">(ssize_t{-1}, socket, data, size, flags, address, length);
}

}  // extern "C"
