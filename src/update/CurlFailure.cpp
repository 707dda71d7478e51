#include "update/CurlFailure.h"

#include <cerrno>

namespace quillbay {

namespace {

FetchError::Code connectErrorCode(long systemErrorNumber) {
    switch (systemErrorNumber) {
        using enum FetchError::Code;
        case ETIMEDOUT:
            return timedOut;
        case ENETDOWN:
        case ENETUNREACH:
        case EHOSTUNREACH:
        case EHOSTDOWN:
        // No address to connect from: that is a computer without a network.
        case EADDRNOTAVAIL:
            return notConnectedToInternet;
        default:
            return cannotConnectToHost;
    }
}

}  // namespace

FetchError::Code fetchErrorCode(CURLcode result, long systemErrorNumber) {
    switch (result) {
        using enum FetchError::Code;
        case CURLE_OPERATION_TIMEDOUT:
            return timedOut;
        case CURLE_COULDNT_RESOLVE_HOST:
            return cannotFindHost;
        case CURLE_COULDNT_RESOLVE_PROXY:
            return dnsLookupFailed;
        case CURLE_COULDNT_CONNECT:
            return connectErrorCode(systemErrorNumber);
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
            return networkConnectionLost;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
            return secureConnectionFailed;
        case CURLE_PEER_FAILED_VERIFICATION:
            return serverCertificateUntrusted;
        case CURLE_TOO_MANY_REDIRECTS:
            return tooManyRedirects;
        case CURLE_ABORTED_BY_CALLBACK:
            return cancelled;
        default:
            return other;
    }
}

}  // namespace quillbay
