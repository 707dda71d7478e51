#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/StopToken.h"
#include "update/FetchError.h"

namespace quillbay {

/// An answer above this is refused as soon as it gets there; a real one has a few hundred bytes.
inline constexpr std::size_t fetchLimitBytes = std::size_t{1024} * 1024;

/// How a fetch differs from the usual one; for tests.
struct HTTPSOptions {
    /// For everything together: finding the host, connecting, redirects, and the whole answer.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    /// A file of certificates (PEM) that are trusted in place of the system's.
    std::optional<std::filesystem::path> authorities;
    /// Where to connect in place of the host and port that the URL names, as "HOST:PORT:ADDRESS:PORT".
    std::vector<std::string> connectTo;
};

/// Fetches `url` with GET and returns the body, whatever the HTTP status; a redirect is followed instead, at
/// most five in a row. HTTPS alone, from the first request to the last, with TLS 1.2 or later and a verified
/// certificate. No cookies, no credentials, no cache; the only header of our own is "Accept:
/// application/json". The user's `https_proxy` and `no_proxy` are obeyed. Nothing that is abandoned is
/// waited for, a resolver that hangs neither. Headers of more than 256 KiB in all are refused as well.
///
/// Blocks until the answer is there, the time is over or `token` is stopped. Throws FetchError.
std::string fetchHTTPS(const std::string& url, const HTTPSOptions& options, const StopToken& token);

}  // namespace quillbay
