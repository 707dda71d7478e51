#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace quillbay::faults {

/// Every function of the C library that can be made to fail. A fault names its function by the place here,
/// which the control file tells.
inline constexpr auto functionNames = std::to_array<std::string_view>(
    {// sockets
     "socket", "socketpair", "bind", "listen", "accept", "accept4", "connect", "send", "sendto", "sendmsg",
     "sendmmsg", "recv", "recvfrom", "recvmsg", "recvmmsg", "getsockopt", "setsockopt", "getsockname",
     "getpeername", "shutdown", "splice",
     // waiting
     "epoll_create", "epoll_create1", "epoll_ctl", "epoll_wait", "poll", "select", "eventfd", "eventfd_write",
     "timerfd_create", "timerfd_settime", "nanosleep",
     // processes and threads
     "pipe", "pipe2", "fork", "execve", "posix_spawn", "waitpid", "waitid", "kill", "dup2", "setpgid",
     "getrlimit", "setrlimit", "sigaction", "pthread_sigmask", "pthread_create",
     // files
     "open", "openat", "fopen", "read", "readv", "write", "writev", "fsync", "fdatasync", "ftruncate",
     "lseek", "close", "close_range", "fcntl", "ioctl", "flock", "stat", "lstat", "fstat", "faccessat",
     "chmod", "fchmod", "mkdir", "mkdtemp", "rename", "renameat", "unlink", "unlinkat", "rmdir", "opendir",
     "fdopendir", "readdir",
     // the computer
     "getifaddrs", "if_nametoindex", "if_indextoname", "gethostname", "uname", "getpwuid_r", "getaddrinfo",
     "getnameinfo", "getentropy"});

/// The place of a function in the list; does not compile for a name that is not in it.
consteval std::size_t functionIndex(std::string_view name) {
    for (std::size_t index = 0; index < functionNames.size(); ++index)
        if (functionNames[index] == name) return index;
    throw "not in the list";
}

}  // namespace quillbay::faults
