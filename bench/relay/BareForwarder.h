#pragma once

#include <cstdint>
#include <functional>

namespace quillbay::bench {

/// The least that a forwarder on this system can do for a stream: a blocking thread for each direction,
/// `splice(2)` out of one socket and into the other. What the relays cost beyond it is theirs.
///
/// `ready` gets the port and returns when all is over. Ends with the process.
void forwardBare(std::uint16_t target, const std::function<void(std::uint16_t port)>& ready);

}  // namespace quillbay::bench
