#pragma once

#include <QList>
#include <QRect>
#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// Where a window was, in points.
struct WindowGeometry {
    /// While it is not maximised.
    QRect rect;
    bool maximized = false;
    bool operator==(const WindowGeometry&) const = default;
};

/// "120,80,1024,700", and ",maximized" after that.
std::string geometryText(const WindowGeometry& geometry);

/// Nothing for a text that is none, or that nobody's screen could have led to.
std::optional<WindowGeometry> parseGeometry(std::string_view text);

/// `rect` moved and, if need be, made smaller so that it lies on the one of these screens (their available
/// areas, the first screen first) on which most of it is; in the middle of the first one when it is on none.
QRect fittedTo(const QList<QRect>& screens, QRect rect);

}  // namespace quillbay
