#pragma once

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Whom a descriptor is for, in the order of who has to make do first when they run out. Anybody on the local
/// network can make a bridge open sockets, by connecting to it or by sending it datagrams from ever new
/// ports, and flows of datagrams never end by themselves. So flows leave some descriptors to the relays'
/// listeners and connections, and both leave some to the program itself: its files, its children, and the
/// socket at which it is told to stop.
enum class DescriptorUse { flow, relay };

/// Hands back a descriptor that was just opened, or closes it and throws std::system_error (EMFILE) when it
/// belongs to what its use has to leave to others. Under a limit of fewer than 1,024 descriptors, which is
/// too low for a bridge in any case, nothing is left. Any thread.
UniqueDescriptor withinShare(UniqueDescriptor opened, DescriptorUse use);

/// False when there would be no descriptor for one more connection: a client that is not accepted waits, one
/// that was would have to be turned away. Asks the system only while descriptors have lately been short. Any
/// thread.
bool connectionsHaveRoom();

}  // namespace quillbay
