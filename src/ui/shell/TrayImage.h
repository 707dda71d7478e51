#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QString>

namespace quillbay {

/// What the menu-bar item shows.
struct TraySight {
    QString symbol;
    QColor color;
    /// Of the dot at the top right corner that tells of an update; not valid without one.
    QColor dot;
    bool operator==(const TraySight&) const = default;
};

/// The picture, `canvas` points wide and high (22 or more), at `scale` pixels per point: the symbol 17 points
/// large in its middle, and the dot 6 points large, which touches no symbol.
QImage trayImage(const TraySight& sight, int canvas, double scale);

/// The picture in the sizes that trays ask for.
QIcon trayIcon(const TraySight& sight);

}  // namespace quillbay
