#include "update/UpdateService.h"

#include <exception>

namespace quillbay {

namespace {

LatestResponse ask(const std::string& address, const HTTPSOptions& options, const StopToken& token) {
    return decodeLatestResponse(fetchHTTPS(address, options, token));
}

LatestResponse askBoth(const UpdateService& service, const StopToken& token) {
    try {
        return ask(service.primary, service.options, token);
    } catch (const std::exception& error) {
        if (!isUnreachable(error) || service.fallback == service.primary) throw;
    }
    return ask(service.fallback, service.options, token);
}

}  // namespace

UpdateService UpdateService::ofThisBuild() {
    return {"https://" QUILLBAY_UPDATE_HOST "/api/latest",
            "https://" QUILLBAY_UPDATE_FALLBACK_HOST "/api/latest", HTTPSOptions()};
}

std::optional<LatestResponse> UpdateService::latest(const StopToken& token) const {
    try {
        return askBoth(*this, token);
    } catch (const std::exception&) {
        // Nothing is shown or logged: the notice of a newer version just does not appear, and tomorrow is
        // another day.
        return std::nullopt;
    }
}

}  // namespace quillbay
