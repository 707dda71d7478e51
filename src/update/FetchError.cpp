#include "update/FetchError.h"

namespace quillbay {

bool isUnreachable(const std::exception& error) {
    const auto* const fetchError = dynamic_cast<const FetchError*>(&error);
    if (fetchError == nullptr) return false;
    switch (fetchError->code()) {
        using enum FetchError::Code;
        case timedOut:
        case cannotFindHost:
        case cannotConnectToHost:
        case networkConnectionLost:
        case dnsLookupFailed:
        case notConnectedToInternet:
        case internationalRoamingOff:
        case dataNotAllowed:
        case secureConnectionFailed:
            return true;
        case other:
        case cancelled:
        case tooManyRedirects:
        case serverCertificateUntrusted:
            return false;
    }
    return false;
}

}  // namespace quillbay
