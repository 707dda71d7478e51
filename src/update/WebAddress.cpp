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

}  // namespace

bool isWebAddress(std::string_view text) {
    // The parser reads a text that ends with a zero byte, and would not see what comes behind one.
    if (text.size() > longestAddressBytes || text.find('\0') != std::string_view::npos) return false;
    const std::unique_ptr<CURLU, FreeURL> url(curl_url());
    if (!url) throw std::bad_alloc();
    // Strict: without flags it guesses no scheme, and takes neither blanks nor control characters.
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
