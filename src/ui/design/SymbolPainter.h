#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace quillbay {

/// Draws symbols: one SVG file each, named as the symbol, on a grid of 24 units with strokes of 1.75. May be
/// called on any thread.
namespace symbols {

/// What the pictures that are kept take at most, in bytes.
constexpr qsizetype cacheLimit = qsizetype{4} * 1024 * 1024;

/// The symbol in `color` on nothing, `size` points wide and high, at `scale` pixels per point. A null image
/// for an empty name, and for one that no file has, which the log is told of once.
QImage image(const QString& name, const QColor& color, double size, double scale);

/// The stroke in units of the grid at this size in points: 1.75, from 24 on 1.5, from 40 on 1.25.
double strokeWidth(double size);

/// What the pictures take that are kept for the next time; the ones that were not used for longest give way.
qsizetype cachedBytes();

}  // namespace symbols
}  // namespace quillbay
