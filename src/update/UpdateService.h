#pragma once

#include <optional>
#include <string>

#include "platform/StopToken.h"
#include "update/HTTPSFetch.h"
#include "update/LatestResponse.h"

namespace quillbay {

/// The maker's update service: two hosts that answer the same, or one, when both addresses are equal.
struct UpdateService {
    /// HTTPS addresses; the second one is asked where the first one cannot be reached.
    std::string primary;
    std::string fallback;
    HTTPSOptions options;

    /// The service that this program was built for.
    static UpdateService ofThisBuild();

    /// Asks for the newest version. Nothing on every failure, and when `token` is stopped: a service that is
    /// out of order is no concern of the user's. Blocks for at most twice the time-out.
    [[nodiscard]] std::optional<LatestResponse> latest(const StopToken& token) const;
};

}  // namespace quillbay
