#include "update/WebAddress.h"

#include <curl/curl.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>

namespace quillbay {

namespace {

// What browsers, mail programs and command lines all take; a download page needs a tenth of it.
constexpr std::size_t longestAddressBytes = 2048;

struct FreeURL {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct FreeText {
    void operator()(char* text) const { curl_free(text); }
};

/// Whether the text has no other characters than an address is written in (RFC 3986, section 2). The parser
/// takes nearly all others in a path; to a terminal or to the program that opens the address they may be
/// orders.
bool hasOnlyAddressCharacters(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEFabcdef";
    constexpr std::string_view asTheyAre =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~:/?#[]@!$&'()*+,;=%";
    if (text.find_first_not_of(asTheyAre) != std::string_view::npos) return false;
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        const std::string_view code = text.substr(at + 1, 2);
        if (code.size() != 2 || code.find_first_not_of(digits) != std::string_view::npos) return false;
    }
    return true;
}

}  // namespace

bool isWebAddress(std::string_view text) {
    if (text.size() > longestAddressBytes || !hasOnlyAddressCharacters(text)) return false;
    const std::unique_ptr<CURLU, FreeURL> url(curl_url());
    if (!url) throw std::bad_alloc();
    // Strict: without flags it guesses no scheme.
    if (curl_url_set(url.get(), CURLUPART_URL, std::string(text).c_str(), 0) != CURLUE_OK) return false;
    char* found = nullptr;
    if (curl_url_get(url.get(), CURLUPART_SCHEME, &found, 0) != CURLUE_OK) return false;
    const std::unique_ptr<char, FreeText> scheme(found);
    if (std::string_view(scheme.get()) != "https" && std::string_view(scheme.get()) != "http") return false;
    // It forgives one slash and three, which others read as an address without a host.
    const std::string_view rest = text.substr(std::string_view(scheme.get()).size());
    return rest.starts_with("://") && !rest.starts_with(":///");
}

}  // namespace quillbay
