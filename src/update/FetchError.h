#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace quillbay {

/// Why an answer could not be fetched, by the codes of the Mac's URL-loading error domain.
class FetchError : public std::runtime_error {
 public:
    enum class Code : int {
        /// What has no code of its own here: a bad answer, one that is too large, no memory.
        other = -1,
        /// The caller's stop.
        cancelled = -999,
        timedOut = -1001,
        cannotFindHost = -1003,
        cannotConnectToHost = -1004,
        networkConnectionLost = -1005,
        dnsLookupFailed = -1006,
        tooManyRedirects = -1007,
        notConnectedToInternet = -1009,
        internationalRoamingOff = -1018,
        dataNotAllowed = -1020,
        secureConnectionFailed = -1200,
        serverCertificateUntrusted = -1202,
    };

    FetchError(Code code, const std::string& text) : std::runtime_error(text), code_(code) {}

    [[nodiscard]] Code code() const { return code_; }

 private:
    Code code_;
};

/// Whether the error means that the host could not be reached, so that another host may do better. A bad
/// answer, a certificate that is not trusted and every error of another kind do not.
bool isUnreachable(const std::exception& error);

}  // namespace quillbay
