#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillbay {

/// Where the panel's top left corner goes. `item` is the menu-bar item, which may be empty where the desktop
/// does not say where it is; `available` is its screen without what the desktop has at the edges.
///
/// Centred on the item, below one in the screen's upper half and else above it; without a place, in the top
/// right corner. Always whole on the screen, 8 points from its sides, if it fits there.
QPoint panelPosition(const QRect& item, const QRect& available, QSize panel);

}  // namespace quillbay
