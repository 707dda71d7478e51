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

/// The kind in one lower-case word, for documents and reports.
constexpr const char* nameOf(BridgeStatus::Kind kind) {
    switch (kind) {
        case BridgeStatus::Kind::error:
            return "error";
        case BridgeStatus::Kind::off:
            return "off";
        case BridgeStatus::Kind::pairing:
            return "pairing";
        case BridgeStatus::Kind::on:
            return "on";
    }
    return "off";
}

}  // namespace quillbay
