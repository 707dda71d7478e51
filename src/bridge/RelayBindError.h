#pragma once

#include <exception>

namespace quillbay {

/// The one error of the relays' own: a listener was neither ready nor failed in time. It prints as
/// "timedOut".
class RelayBindError final : public std::exception {
 public:
    static RelayBindError timedOut() { return {}; }

    [[nodiscard]] const char* what() const noexcept override { return "timedOut"; }

    bool operator==(const RelayBindError&) const { return true; }
};

}  // namespace quillbay
