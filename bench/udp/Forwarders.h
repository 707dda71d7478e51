#pragma once

#include <cstdint>
#include <string>

#include "relay/Peers.h"

namespace quillbay::bench {

/// Something that passes datagrams on to a port of 127.0.0.1, by the name that it has in the rows: "relay",
/// "nginx" or "direct". Returns when it answers.
Forwarder datagramForwarder(const std::string& who, std::uint16_t target);

}  // namespace quillbay::bench
