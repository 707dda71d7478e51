#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "suite/Child.h"

namespace quillbay::bench {

class Target;

/// Something that passes connections on to a target port.
struct Forwarder {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;
    std::unique_ptr<Child> child;  // none for the direct way
};

inline constexpr int firstPort = 55000;
inline constexpr int lastPort = 58000;

enum class Listens { onOnePort, onTheFullRange };

/// Whom the relays are compared with: other forwarders. Not "direct", which forwards nothing.
std::vector<std::string> tcpPeers();

Forwarder direct(std::uint16_t target);
/// This system's relays, in a process of their own.
Forwarder relay(std::uint16_t target, Listens listens);
/// One that passes TCP connections on to `target`, by the name that it has in the rows: "relay", "direct",
/// "bare" (on one port, whatever is asked: nothing but the system calls) or a peer, which gets as many
/// threads as the relays have. Returns when it does so. Throws std::runtime_error when it does not.
Forwarder forwarder(const std::string& who, const Target& target, Listens listens);

}  // namespace quillbay::bench
