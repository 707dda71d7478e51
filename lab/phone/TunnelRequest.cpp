#include "phone/TunnelRequest.h"

#include "phone/Words.h"

namespace quillbay::lab {

std::optional<TunnelRequest> parseTunnelRequest(std::string_view line) {
    const auto words = split(line, ' ');
    if (words.size() == 1 && words[0] == "ECHO") return TunnelRequest{};
    if (words.size() == 2 && words[0] == "PUT") {
        const auto bytes = parseNumber<std::uint64_t>(words[1]);
        if (bytes) return TunnelRequest{TunnelRequest::Verb::put, 0, *bytes};
    }
    if (words.size() == 3 && words[0] == "GET") {
        const auto seed = parseNumber<std::uint64_t>(words[1]);
        const auto bytes = parseNumber<std::uint64_t>(words[2]);
        if (seed && bytes) return TunnelRequest{TunnelRequest::Verb::get, *seed, *bytes};
    }
    return std::nullopt;
}

}  // namespace quillbay::lab
