#include "ui/shell/PanelPlacement.h"

#include <algorithm>

namespace quillbay {

namespace {

/// To the sides of the screen, and to the item.
constexpr int inset = 8;
constexpr int gap = 4;

/// Within [low, high]; where that is nothing, the start counts, which has the panel's header.
int bounded(int value, int low, int high) {
    return std::max(low, std::min(value, high));
}

}  // namespace

QPoint panelPosition(const QRect& item, const QRect& available, QSize panel) {
    const int left = available.x() + inset;
    const int right = available.x() + available.width() - panel.width() - inset;
    const int bottom = available.y() + available.height() - panel.height();
    if (item.isEmpty()) return {bounded(right, available.x(), right), available.y() + inset};
    const bool below = item.center().y() < available.center().y();
    const int x = item.x() + (item.width() - panel.width()) / 2;
    const int y = below ? item.y() + item.height() + gap : item.y() - gap - panel.height();
    return {bounded(bounded(x, left, right), available.x(), right + inset),
            bounded(y, available.y(), bottom)};
}

}  // namespace quillbay
