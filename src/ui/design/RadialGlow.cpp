#include "ui/design/RadialGlow.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace quillbay {

namespace {

/// How strong the light is at 0, 20, 40, 60, 80 and 100 % of the radius.
constexpr std::array<float, 6> falloff{1.0F, 0.81F, 0.54F, 0.28F, 0.08F, 0.0F};

/// Of a number that is not negative: std::floor would be a call, and this runs for each pixel.
float fraction(float number) {
    return number - static_cast<float>(static_cast<int>(number));
}

float strengthAt(float distance) {
    if (distance >= 1) return 0;
    const float place = distance * (falloff.size() - 1);
    const auto step = static_cast<std::size_t>(place);
    return falloff[step] + fraction(place) * (falloff[step + 1] - falloff[step]);
}

/// Between 0 and 1, different from each neighbour's and without a pattern that the eye finds (interleaved
/// gradient noise, Jimenez 2014). So slight a light has fewer shades than the screen has pixels for them: cut
/// off instead of scattered, they would show as rings.
float threshold(int x, int y) {
    const float row = 0.06711056F * static_cast<float>(x) + 0.00583715F * static_cast<float>(y);
    return fraction(52.9829189F * fraction(row));
}

/// A colour at its full strength, in shades from 0 to 255, each times the opacity.
struct Shades {
    explicit Shades(const QColor& color)
        : alpha(color.alphaF() * 255),
          red(color.redF() * alpha),
          green(color.greenF() * alpha),
          blue(color.blueF() * alpha) {}

    [[nodiscard]] QRgb scattered(float strength, float threshold) const {
        const auto shade = [&](float full) {
            return std::min(255, static_cast<int>(full * strength + threshold));
        };
        return qRgba(shade(red), shade(green), shade(blue), shade(alpha));
    }

    float alpha, red, green, blue;
};

QImage light(const QSize& pixels, const QColor& color) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    const Shades shades(color);
    const float scale = 1 / static_cast<float>(std::min(pixels.width(), pixels.height()));
    for (int y = 0; y < pixels.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        const float down = scale * static_cast<float>(y);
        for (int x = 0; x < pixels.width(); ++x) {
            const float along = scale * static_cast<float>(x);
            line[x] = shades.scattered(strengthAt(std::sqrt(along * along + down * down)), threshold(x, y));
        }
    }
    return image;
}

}  // namespace

RadialGlow::RadialGlow(QQuickItem* parent) : QQuickPaintedItem(parent) {}

void RadialGlow::setColor(const QColor& color) {
    if (color == color_) return;
    color_ = color;
    Q_EMIT colorChanged();
    update();
}

void RadialGlow::setCorner(Corner corner) {
    if (corner == corner_) return;
    corner_ = corner;
    Q_EMIT cornerChanged();
    update();
}

void RadialGlow::paint(QPainter* painter) {
    const double scale = painter->device()->devicePixelRatioF();
    const QSize pixels = (size() * scale).toSize();
    if (pixels.isEmpty()) return;
    const QImage image = light(pixels, color_);
    painter->drawImage(boundingRect(), corner_ == Corner::TopLeft ? image : image.mirrored(true, true));
}

}  // namespace quillbay
