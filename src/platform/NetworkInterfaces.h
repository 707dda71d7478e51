#pragma once

#include <netinet/in.h>

#include <optional>
#include <string>
#include <vector>

namespace quillbay {

// All functions read the system anew, keep no state and may be called on any thread.

/// The first IPv4 address of the interface with exactly this name, as dotted decimals; nothing without one or
/// when the system cannot list its addresses.
std::optional<std::string> currentIPv4Address(const std::string& interfaceName);

/// The IPv4 addresses of every interface that is up, running, able to multicast and no loopback; empty when
/// the system cannot list its addresses.
std::vector<in_addr> multicastIPv4Addresses();

/// The interface on which this computer meets its local network: "en0"; on Linux, where no interface of that
/// name exists, the one that holds the IPv4 default route, and "en0" while there is none.
std::string localInterfaceName();

}  // namespace quillbay
