#pragma once

#include <curl/curl.h>

#include "update/FetchError.h"

namespace quillbay {

/// The class of a failed transfer, from what libcurl says of it (libcurl-errors(3)) and, where it could not
/// connect, from the system's error number (CURLINFO_OS_ERRNO).
///
///     CURLE_OPERATION_TIMEDOUT                   −1001  timed out
///     CURLE_COULDNT_CONNECT, ETIMEDOUT           −1001
///     CURLE_COULDNT_RESOLVE_HOST                 −1003  cannot find host; a name that does not exist and a
///                                                       resolver that does not answer look the same
///     CURLE_COULDNT_RESOLVE_PROXY                −1006  DNS lookup failed: the proxy's name
///     CURLE_COULDNT_CONNECT, ENETDOWN,           −1009  not connected to the internet
///       ENETUNREACH, EHOSTUNREACH, EHOSTDOWN,
///       EADDRNOTAVAIL
///     CURLE_COULDNT_CONNECT, any other           −1004  cannot connect to host
///     CURLE_SEND_ERROR, CURLE_RECV_ERROR,        −1005  network connection lost
///       CURLE_GOT_NOTHING, CURLE_PARTIAL_FILE
///     CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CIPHER  −1200  secure connection failed
///     CURLE_PEER_FAILED_VERIFICATION             −1202  certificate not trusted, or of another host
///     CURLE_TOO_MANY_REDIRECTS                   −1007
///     CURLE_ABORTED_BY_CALLBACK                  −999   cancelled
///     any other                                  −1     a bad answer, one that is too large, a redirect
///                                                       away from HTTPS, a fault of this computer
///
/// −1018 (international roaming off) and −1020 (data not allowed) are a telephone's; nothing here leads to
/// them.
FetchError::Code fetchErrorCode(CURLcode result, long systemErrorNumber);

}  // namespace quillbay
