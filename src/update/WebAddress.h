#pragma once

#include <string_view>

namespace quillbay {

/// Whether `text` is the absolute URL (RFC 3986) of a page that a browser may be sent to: http or https, with
/// a host, in the characters that an address is written in (ASCII alone; others are percent-encoded), of at
/// most 2,048 bytes. A click opens such an address with whatever the system has for its scheme; so a service
/// that hands out `file:`, `javascript:` or an application's own scheme is not believed.
bool isWebAddress(std::string_view text);

}  // namespace quillbay
