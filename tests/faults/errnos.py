"""With which errors each function is made to fail: those that its manual page names and that these calls can meet.

Left out everywhere, since only a mistake of the program's own brings them about: EBADF, EFAULT, ENOTSOCK, EOPNOTSUPP, EINVAL
for constant arguments; ENOSYS for calls that the program cannot do without; and EINPROGRESS, which is how a connection
begins. What is left out at single call sites is in `expectations.py`.
"""

from errno import (E2BIG, EACCES, EADDRINUSE, EADDRNOTAVAIL, EAFNOSUPPORT, EAGAIN, EBUSY, ECONNABORTED, ECONNREFUSED,
                   ECONNRESET, EDQUOT, EEXIST, EFBIG, EHOSTDOWN, EHOSTUNREACH, EINTR, EINVAL, EIO, EISDIR, ELOOP,
                   EMFILE, EMLINK, EMSGSIZE, ENAMETOOLONG, ENETDOWN, ENETUNREACH, ENFILE, ENOBUFS, ENODEV, ENOENT,
                   ENOEXEC, ENOLCK, ENOMEM, ENOPROTOOPT, ENOSPC, ENOSYS, ENOTCONN, ENOTDIR, ENOTEMPTY, ENXIO, EOVERFLOW,
                   EPERM, EPIPE, EPROTO, EPROTONOSUPPORT, ERANGE, EROFS, ESRCH, ETIMEDOUT, ETXTBSY, EXDEV, errorcode)

# <netdb.h>; these functions return them.
_EAI = {"EAI_NONAME": -2, "EAI_AGAIN": -3, "EAI_FAIL": -4, "EAI_FAMILY": -6, "EAI_MEMORY": -10, "EAI_SYSTEM": -11,
        "EAI_OVERFLOW": -12}

_NO_DESCRIPTOR = (EMFILE, ENFILE)
_PATH = (EACCES, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR)
_MADE = (EDQUOT, EEXIST, ENOSPC, EPERM, EROFS)
_OPENED = (*_PATH, *_MADE, *_NO_DESCRIPTOR, EINTR, EIO, EISDIR, ENODEV, ENXIO, ETXTBSY)
_SENT = (EACCES, EAGAIN, ECONNREFUSED, ECONNRESET, EHOSTUNREACH, EINTR, EMSGSIZE, ENETUNREACH, ENOBUFS, ENOMEM, EPERM, EPIPE)
_RECEIVED = (EAGAIN, ECONNREFUSED, ECONNRESET, EHOSTUNREACH, EINTR, ENOMEM, ETIMEDOUT)
_ACCEPTED = (EAGAIN, ECONNABORTED, EHOSTDOWN, EHOSTUNREACH, EINTR, EMFILE, ENETDOWN, ENETUNREACH, ENFILE, ENOBUFS, ENOMEM,
             EPERM, EPROTO)
_WRITTEN = (EDQUOT, EFBIG, EINTR, EIO, ENOSPC, EPERM, EPIPE)
_CLOSED = (EDQUOT, EINTR, EIO, ENOSPC)
_RENAMED = (EACCES, EBUSY, EDQUOT, EISDIR, ELOOP, EMLINK, ENAMETOOLONG, ENOENT, ENOMEM, ENOSPC, ENOTDIR, EPERM, EROFS, EXDEV)
_REMOVED = (EACCES, EBUSY, EIO, EISDIR, ELOOP, ENOENT, ENOMEM, ENOTDIR, EPERM, EROFS)

ERRNOS = {
    "socket": (EACCES, EAFNOSUPPORT, *_NO_DESCRIPTOR, ENOBUFS, ENOMEM, EPROTONOSUPPORT),
    "socketpair": (EAFNOSUPPORT, *_NO_DESCRIPTOR, EPROTONOSUPPORT),
    "bind": (EACCES, EADDRINUSE, EADDRNOTAVAIL, EINVAL, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EROFS),
    "listen": (EADDRINUSE,),
    "accept": _ACCEPTED,
    "accept4": _ACCEPTED,
    "connect": (EACCES, EADDRINUSE, EADDRNOTAVAIL, EAFNOSUPPORT, EAGAIN, ECONNREFUSED, EHOSTUNREACH, EINTR, ENETUNREACH,
                EPERM, EPROTO, ETIMEDOUT),
    "send": _SENT,
    "sendto": _SENT,
    "sendmsg": _SENT,
    "sendmmsg": _SENT,
    "recv": _RECEIVED,
    "recvfrom": _RECEIVED,
    "recvmsg": _RECEIVED,
    "recvmmsg": _RECEIVED,
    "getsockopt": (EINVAL, ENOPROTOOPT),
    "setsockopt": (EINVAL, ENOPROTOOPT),
    "getsockname": (ENOBUFS,),
    "getpeername": (ENOBUFS, ENOTCONN),
    "shutdown": (ENOTCONN,),
    "splice": (EAGAIN, EINVAL, ENOMEM),
    "epoll_create": (*_NO_DESCRIPTOR, ENOMEM),
    "epoll_create1": (*_NO_DESCRIPTOR, ENOMEM),
    "epoll_ctl": (ENOMEM, ENOSPC),
    "epoll_wait": (EINTR,),
    "poll": (EINTR, ENOMEM),
    "select": (EINTR, ENOMEM),
    "eventfd": (*_NO_DESCRIPTOR, ENODEV, ENOMEM),
    "eventfd_write": (EAGAIN,),
    "timerfd_create": (*_NO_DESCRIPTOR, ENODEV, ENOMEM),
    "timerfd_settime": (),
    "nanosleep": (EINTR,),
    "pipe": _NO_DESCRIPTOR,
    "pipe2": _NO_DESCRIPTOR,
    "fork": (EAGAIN, ENOMEM),
    "execve": (E2BIG, EACCES, EAGAIN, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENFILE, ENOENT, ENOEXEC, ENOMEM, ENOTDIR, EPERM,
               ETXTBSY),
    "posix_spawn": (EAGAIN, ENOENT, ENOMEM),
    "waitpid": (EINTR,),
    "waitid": (EINTR,),
    "kill": (EPERM, ESRCH),
    "dup2": (EBUSY, EINTR, EMFILE),
    "setpgid": (EACCES, EPERM),
    "getrlimit": (),
    "setrlimit": (EPERM,),
    "sigaction": (),
    "pthread_sigmask": (),
    "pthread_create": (EAGAIN, EPERM),
    "open": _OPENED,
    "openat": _OPENED,
    "fopen": _OPENED,
    "read": (EAGAIN, EINTR, EIO, EISDIR),
    "readv": (EAGAIN, EINTR, EIO, EISDIR),
    "write": (EAGAIN, *_WRITTEN),
    "writev": (EAGAIN, *_WRITTEN),
    "fsync": (EDQUOT, EINTR, EIO, ENOSPC, EROFS),
    "fdatasync": (EDQUOT, EINTR, EIO, ENOSPC, EROFS),
    "ftruncate": (EFBIG, EINTR, EIO, EPERM, EROFS),
    "lseek": (EOVERFLOW,),
    "close": _CLOSED,
    "close_range": (EMFILE, ENOMEM, ENOSYS),
    "fcntl": (EMFILE, EPERM),
    "ioctl": (),
    "flock": (EINTR, ENOLCK, EAGAIN),
    "stat": (*_PATH, EOVERFLOW),
    "lstat": (*_PATH, EOVERFLOW),
    "fstat": (ENOMEM, EOVERFLOW),
    "faccessat": (*_PATH, EIO, EROFS, ETXTBSY),
    "chmod": (*_PATH, EIO, EPERM, EROFS),
    "fchmod": (EIO, EPERM, EROFS),
    "mkdir": (*_PATH, *_MADE, EMLINK),
    "mkdtemp": (*_PATH, *_MADE, EMLINK),
    "rename": _RENAMED,
    "renameat": _RENAMED,
    "unlink": _REMOVED,
    "unlinkat": _REMOVED,
    "rmdir": (*_REMOVED, ENOTEMPTY),
    "opendir": (EACCES, *_NO_DESCRIPTOR, ENOENT, ENOMEM, ENOTDIR),
    "fdopendir": (ENOMEM, ENOTDIR),
    "readdir": (EIO,),
    "getifaddrs": (EACCES, *_NO_DESCRIPTOR, ENOBUFS, ENOMEM),
    "if_nametoindex": (*_NO_DESCRIPTOR, ENODEV),
    "if_indextoname": (*_NO_DESCRIPTOR, ENXIO),
    "gethostname": (ENAMETOOLONG,),
    "uname": (),
    "getpwuid_r": (EINTR, EIO, *_NO_DESCRIPTOR, ENOMEM, ERANGE),
    "getaddrinfo": tuple(_EAI.values()),
    "getnameinfo": tuple(_EAI.values()),
    "getentropy": (EIO, ENOSYS),
}

# Functions, and why they are left alone.
NEVER_FAILS = {
    "timerfd_settime": "its errors are a wrong argument, and a change of the clock for timers that ask to be told of it",
    "getrlimit": "its errors are a wrong resource or address",
    "ioctl": "its errors are a wrong descriptor, request or address",
    "pthread_sigmask": "its one error is a wrong argument",
    "sigaction": "its one error is a wrong argument",
    "uname": "its one error is a wrong address",
}


def name_of(code):
    return next((name for name, value in _EAI.items() if value == code), None) or errorcode[code]
