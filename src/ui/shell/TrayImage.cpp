#include "ui/shell/TrayImage.h"

#include <QPainter>
#include <QPixmap>
#include <array>

#include "ui/design/SymbolPainter.h"

namespace quillbay {

namespace {

constexpr double symbolSize = 17;
constexpr double dotSize = 6;

}  // namespace

QImage trayImage(const TraySight& sight, int canvas, double scale) {
    const int pixels = qRound(canvas * scale);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const double margin = (canvas - symbolSize) / 2;
    painter.drawImage(QRectF(margin, margin, symbolSize, symbolSize),
                      symbols::image(sight.symbol, sight.color, symbolSize, scale));
    if (!sight.dot.isValid()) return image;
    const QRectF dot(canvas - dotSize, 0, dotSize, dotSize);
    painter.setPen(Qt::NoPen);
    painter.setBrush(sight.dot);
    painter.drawEllipse(dot);
    return image;
}

QIcon trayIcon(const TraySight& sight) {
    // Of those, a tray takes the one that fits, or scales the next larger one down.
    constexpr std::array canvases{22, 24};
    constexpr std::array scales{1.0, 2.0, 3.0};
    QIcon icon;
    for (const double scale : scales)
        for (const int canvas : canvases) {
            QImage image = trayImage(sight, canvas, scale);
            image.setDevicePixelRatio(1);
            icon.addPixmap(QPixmap::fromImage(image));
        }
    return icon;
}

}  // namespace quillbay
