#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

// Non-blocking, close-on-exec sockets. All functions throw std::system_error with the system's error number
// and leave no descriptor behind then. They may be called on any thread and do not block.

/// An IPv4 address and port. Throws std::system_error (EINVAL) when `address` is not dotted decimals.
sockaddr_in ipv4Endpoint(const std::string& address, std::uint16_t port);

/// A TCP socket that listens on exactly this address and port, with address reuse. Port 0 lets the system
/// choose.
UniqueDescriptor listenTCP(const std::string& address, std::uint16_t port);

/// A UDP socket bound to exactly this address and port. On Linux without address reuse: with it, two programs
/// would share the port and steal each other's datagrams, and a port that is taken could never be seen.
UniqueDescriptor bindUDP(const std::string& address, std::uint16_t port);

/// A new socket of the family and type, non-blocking, close-on-exec, and never a source of SIGPIPE.
UniqueDescriptor openSocket(int family, int type);

/// A connection waiting on `listener`, non-blocking and close-on-exec; invalid when there is none (any more),
/// with the error number in `error` (EAGAIN, EMFILE, …).
UniqueDescriptor acceptConnection(int listener, int& error);

/// The port that a bound socket has.
std::uint16_t boundPort(int descriptor);

/// How sending must be asked for so that a closed connection is an error and not a signal (see send(2)).
int noSignalFlag();

}  // namespace quillbay
