#include "update/VersionNumber.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace quillbay {

namespace {

std::int64_t numberOf(std::string_view piece) {
    // The reader knows the minus sign alone.
    if (piece.starts_with('+')) {
        piece.remove_prefix(1);
        if (piece.starts_with('-')) return 0;
    }
    std::int64_t number = 0;
    const char* const end = piece.data() + piece.size();
    const auto [stopped, error] = std::from_chars(piece.data(), piece.data() + piece.size(), number);
    return error == std::errc() && stopped == end ? number : 0;
}

}  // namespace

std::array<std::int64_t, 3> components(std::string_view version) {
    std::array<std::int64_t, 3> numbers{};
    std::size_t count = 0;
    while (!version.empty() && count < numbers.size()) {
        const std::string_view piece = version.substr(0, version.find('.'));
        version.remove_prefix(piece.size());
        if (!version.empty()) version.remove_prefix(1);
        if (!piece.empty()) numbers[count++] = numberOf(piece);
    }
    return numbers;
}

bool isNewer(std::string_view version, std::string_view installed) {
    return components(version) > components(installed);
}

}  // namespace quillbay
