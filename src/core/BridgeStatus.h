#pragma once

#include <string>
#include <utility>

namespace quillbay {

/// What people see of a profile's bridge.
struct BridgeStatus {
    enum class Kind { error, off, pairing, on };

    Kind kind = Kind::off;
    /// The sentence for the person at the screen; empty for every kind but `error`.
    std::string message;

    static BridgeStatus error(std::string message) { return {Kind::error, std::move(message)}; }
    static BridgeStatus off() { return {Kind::off, {}}; }
    static BridgeStatus pairing() { return {Kind::pairing, {}}; }
    static BridgeStatus on() { return {Kind::on, {}}; }

    bool operator==(const BridgeStatus&) const = default;
};

}  // namespace quillbay
