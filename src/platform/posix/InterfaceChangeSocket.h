#pragma once

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// A non-blocking socket that becomes readable when a link, an IPv4 address or an IPv4 route of this computer
/// changes. Throws std::system_error when the system refuses it.
UniqueDescriptor openInterfaceChangeSocket();

}  // namespace quillbay
