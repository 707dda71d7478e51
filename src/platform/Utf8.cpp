#include "platform/Utf8.h"

#include <unicode/utf8.h>

#include <utility>

namespace quillbay {

namespace {

/// The length of the unfinished character at the end of `bytes`, 0 if it ends with a finished one.
std::size_t unfinishedTail(std::string_view bytes) {
    for (std::size_t back = 1; back <= 3 && back <= bytes.size(); ++back) {
        const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
        if (U8_IS_TRAIL(byte)) continue;
        if (!U8_IS_LEAD(byte)) return 0;
        const std::size_t expected = 1U + static_cast<std::size_t>(U8_COUNT_TRAIL_BYTES(byte));
        return expected > back ? back : 0;
    }
    return 0;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
    return validUtf8Prefix(bytes) == bytes.size();
}

std::size_t validUtf8Prefix(std::string_view bytes) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto length = static_cast<std::int64_t>(bytes.size());
    std::int64_t position = 0;
    while (position < length) {
        const std::int64_t start = position;
        UChar32 character = 0;
        U8_NEXT(data, position, length, character);
        if (character < 0) return static_cast<std::size_t>(start);
    }
    return bytes.size();
}

std::string wellFormedUtf8(std::string_view bytes) {
    const std::size_t valid = validUtf8Prefix(bytes);
    std::string text(bytes.substr(0, valid));
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto length = static_cast<std::int64_t>(bytes.size());
    auto position = static_cast<std::int64_t>(valid);
    while (position < length) {
        const auto start = static_cast<std::size_t>(position);
        UChar32 character = 0;
        U8_NEXT(data, position, length, character);
        if (character < 0) {
            text += "\xEF\xBF\xBD";
        } else {
            text += bytes.substr(start, static_cast<std::size_t>(position) - start);
        }
    }
    return text;
}

std::optional<std::string> Utf8ChunkDecoder::decode(std::string_view chunk) {
    std::string text = std::exchange(unfinished_, {});
    const bool continued = !text.empty();
    text += chunk;
    const std::size_t tail = unfinishedTail(text);
    unfinished_ = text.substr(text.size() - tail);
    text.resize(text.size() - tail);
    if (isValidUtf8(text)) return text;
    if (!continued) return std::nullopt;
    // The character that the earlier chunk began never came; that is no fault of this chunk.
    unfinished_.clear();
    return decode(chunk);
}

}  // namespace quillbay
