#pragma once

#include <string>
#include <utility>

namespace quillbay {

/// What a bridge is doing.
struct ProxyBridgeState {
    enum class Kind {
        /// The last start failed, or a relay of the control channel did; `message` says how.
        error,
        /// No bridge work is running.
        idle,
        /// A start is under way: checks, probe or scan, relay set-up.
        pairing,
        /// Relays and proxy record are up.
        active,
    };

    Kind kind = Kind::idle;
    /// The technical failure text; empty for every other kind.
    std::string message;

    static ProxyBridgeState error(std::string message) { return {Kind::error, std::move(message)}; }
    static ProxyBridgeState idle() { return {Kind::idle, {}}; }
    static ProxyBridgeState pairing() { return {Kind::pairing, {}}; }
    static ProxyBridgeState active() { return {Kind::active, {}}; }

    bool operator==(const ProxyBridgeState&) const = default;
};

}  // namespace quillbay
