#include "ui/shell/WindowGeometry.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace quillbay {

namespace {

constexpr std::string_view maximizedMark = ",maximized";

/// What no arrangement of screens exceeds; beyond it, adding could overflow.
constexpr int farthest = 100'000;

std::int64_t areaOf(const QRect& rect) {
    return rect.isEmpty() ? 0 : std::int64_t{rect.width()} * rect.height();
}

}  // namespace

std::string geometryText(const WindowGeometry& geometry) {
    const QRect& rect = geometry.rect;
    return fmt::format("{},{},{},{}{}", rect.x(), rect.y(), rect.width(), rect.height(),
                       geometry.maximized ? maximizedMark : "");
}

std::optional<WindowGeometry> parseGeometry(std::string_view text) {
    WindowGeometry geometry;
    if (text.ends_with(maximizedMark)) {
        geometry.maximized = true;
        text.remove_suffix(maximizedMark.size());
    }
    std::array<int, 4> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto read = std::from_chars(text.data(), text.data() + text.size(), numbers.at(i));
        if (read.ec != std::errc{} || std::abs(numbers.at(i)) > farthest) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
        const bool last = i + 1 == numbers.size();
        if (last != text.empty()) return std::nullopt;
        if (!last && !text.starts_with(',')) return std::nullopt;
        if (!last) text.remove_prefix(1);
    }
    geometry.rect = QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
    if (geometry.rect.isEmpty()) return std::nullopt;
    return geometry;
}

QRect fittedTo(const QList<QRect>& screens, QRect rect) {
    if (screens.isEmpty()) return rect;
    const auto shownOn = [&rect](const QRect& screen) { return areaOf(screen & rect); };
    const QRect screen = *std::max_element(
        screens.begin(), screens.end(),
        [&](const QRect& one, const QRect& other) { return shownOn(one) < shownOn(other); });
    rect.setSize(rect.size().boundedTo(screen.size()));
    if (shownOn(screen) == 0) {
        rect.moveCenter(screen.center());
        return rect;
    }
    rect.moveLeft(std::clamp(rect.x(), screen.x(), screen.x() + screen.width() - rect.width()));
    rect.moveTop(std::clamp(rect.y(), screen.y(), screen.y() + screen.height() - rect.height()));
    return rect;
}

}  // namespace quillbay
