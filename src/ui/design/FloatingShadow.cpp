#include "ui/design/FloatingShadow.h"

#include <QImage>
#include <QPainter>
#include <cmath>
#include <numbers>
#include <vector>

namespace quillbay {

namespace {

constexpr double softness = 30;
constexpr double offset = 10;
/// Nine tenths of the light's transition lie within the softness on either side of the edge.
constexpr double deviation = softness / 2;

double upTo(double distance) {
    return (1 + std::erf(distance / (deviation * std::numbers::sqrt2))) / 2;
}

/// The part of the light that each of `pixels` takes away, for an edge at `from` and one at `to`.
std::vector<double> darkness(int pixels, double from, double to) {
    std::vector<double> dark(static_cast<std::size_t>(pixels));
    for (std::size_t at = 0; at < dark.size(); ++at) {
        const double middle = static_cast<double>(at) + 0.5;
        dark[at] = upTo(middle - from) - upTo(middle - to);
    }
    return dark;
}

}  // namespace

FloatingShadow::FloatingShadow(QQuickItem* parent) : QQuickPaintedItem(parent) {}

double FloatingShadow::reach() const {
    return softness;
}

double FloatingShadow::drop() const {
    return offset;
}

void FloatingShadow::setColor(const QColor& color) {
    if (color == color_) return;
    color_ = color;
    Q_EMIT colorChanged();
    update();
}

void FloatingShadow::paint(QPainter* painter) {
    const QSize size = boundingRect().size().toSize();
    if (size.isEmpty()) return;
    // A blurred rectangle is the product of two blurred edges. The corners' roundness is lost in the
    // softness.
    const auto across = darkness(size.width(), softness, size.width() - softness);
    const auto down = darkness(size.height(), softness + offset, size.height() - softness);
    QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const double dark = across[static_cast<std::size_t>(x)] * down[static_cast<std::size_t>(y)];
            line[x] = qPremultiply(qRgba(color_.red(), color_.green(), color_.blue(),
                                         static_cast<int>(std::lround(dark * color_.alpha()))));
        }
    }
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(boundingRect(), shadow);
}

}  // namespace quillbay
