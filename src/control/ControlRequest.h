#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace quillbay {

/// Why a request is not carried out: a sentence for the person who made it.
class RefusedRequest : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// What a client may ask for, one type per command. Members are named as the arguments of the protocol
/// (docs/control.md).
namespace control {

struct Status {
    bool operator==(const Status&) const = default;
};
struct Phones {
    bool operator==(const Phones&) const = default;
};
struct Providers {
    bool operator==(const Providers&) const = default;
};
struct Peers {
    std::string provider;
    bool operator==(const Peers&) const = default;
};
/// With a peer of a provider, or with an address.
struct Pair {
    std::string host;
    std::string name;
    std::optional<std::string> provider;
    std::optional<std::string> peer;
    std::optional<std::string> address;
    bool operator==(const Pair&) const = default;
};
struct Start {
    std::string profile;
    bool operator==(const Start&) const = default;
};
struct Stop {
    std::string profile;
    bool operator==(const Stop&) const = default;
};
struct Scan {
    std::string profile;
    bool operator==(const Scan&) const = default;
};
struct Rename {
    std::string profile;
    std::string name;
    bool operator==(const Rename&) const = default;
};
struct Remove {
    std::string profile;
    bool operator==(const Remove&) const = default;
};
struct Log {
    bool follow = false;
    bool operator==(const Log&) const = default;
};
struct Report {
    std::filesystem::path to;
    bool operator==(const Report&) const = default;
};
struct Settings {
    /// Who may use the bridge from now on; absent: as it is.
    std::optional<bool> onlyThisComputer;
    bool operator==(const Settings&) const = default;
};
struct Activate {
    /// What the desktop gave to whoever asks, so that a window may take the focus.
    std::optional<std::string> token;
    bool operator==(const Activate&) const = default;
};

}  // namespace control

using ControlRequest =
    std::variant<control::Status, control::Phones, control::Providers, control::Peers, control::Pair,
                 control::Start, control::Stop, control::Scan, control::Rename, control::Remove, control::Log,
                 control::Report, control::Settings, control::Activate>;

/// The longest request, without its line feed.
inline constexpr std::size_t maxControlRequestBytes = std::size_t{64} * 1024;

/// Reads one request, a line without its line feed. Throws RefusedRequest for whatever is no request: text
/// that is not JSON, an unknown command, a missing, unknown or mistyped argument.
ControlRequest parseControlRequest(std::string_view line);

}  // namespace quillbay
