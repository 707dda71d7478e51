// The system log as it arrives from a pipe: chunks of bytes, then characters, lines, and the port that a line
// announces. However the bytes are cut, the lines are the same, and the port is the one that a plain search
// finds.

#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/TunnelPortWatcher.h"
#include "fuzz/Fuzz.h"
#include "platform/LineBuffer.h"
#include "platform/Utf8.h"

using namespace quillbay;
using fuzz::require;

namespace {

constexpr std::size_t shortLimitBytes = 48;

std::vector<std::string> linesByPlainSplit(std::string_view text, std::size_t limitBytes) {
    std::vector<std::string> lines;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        if (end <= limitBytes) lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return lines;
}

bool isDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The same as the regular expression, found by hand.
std::optional<std::uint16_t> portByPlainSearch(std::string_view line) {
    constexpr std::string_view prefix = "Got tunnel endpoint: '";
    for (std::size_t at = line.find(prefix); at != std::string_view::npos; at = line.find(prefix, at + 1)) {
        const std::string_view rest = line.substr(at + prefix.size());
        const std::size_t quote = rest.find('\'');
        if (quote == std::string_view::npos) return std::nullopt;
        const std::string_view endpoint = rest.substr(0, quote);
        const std::size_t colon = endpoint.rfind(':');
        if (colon == std::string_view::npos || !isDigits(endpoint.substr(colon + 1))) continue;
        unsigned long value = 0;
        for (const char digit : endpoint.substr(colon + 1)) {
            value = value * 10 + static_cast<unsigned long>(digit - '0');
            if (value > 65535) return std::nullopt;
        }
        return static_cast<std::uint16_t>(value);
    }
    return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::size_t limitBytes = input.ConsumeBool() ? shortLimitBytes : LineBuffer::defaultLimitBytes;
    std::vector<std::size_t> cuts;
    for (std::size_t count = input.ConsumeIntegralInRange<std::size_t>(0, 8); count > 0; --count) {
        cuts.push_back(input.ConsumeIntegralInRange<std::size_t>(0, 64));
    }
    const std::string text = input.ConsumeRemainingBytesAsString();

    Utf8ChunkDecoder decoder;
    LineBuffer buffer(limitBytes);
    std::vector<std::string> lines;
    std::string decoded;
    const auto feed = [&](std::string_view chunk) {
        const auto characters = decoder.decode(chunk);
        if (!characters) return;
        require(isValidUtf8(*characters), "what the decoder lets through is UTF-8");
        decoded += *characters;
        buffer.append(*characters, [&](std::string_view line) { lines.emplace_back(line); });
        require(buffer.unfinished().size() <= limitBytes,
                "an unfinished line is never longer than the limit");
    };
    std::string_view rest = text;
    for (const std::size_t cut : cuts) {
        feed(rest.substr(0, cut));
        rest.remove_prefix(std::min(cut, rest.size()));
    }
    feed(rest);

    if (isValidUtf8(text)) require(decoded == text, "no character is lost at a cut");
    require(lines == linesByPlainSplit(decoded, limitBytes), "the lines do not depend on the cuts");
    for (const std::string& line : lines) {
        require(tunnelPortInLogLine(line) == portByPlainSearch(line),
                "the port is the one that a search finds");
    }
    return 0;
}
