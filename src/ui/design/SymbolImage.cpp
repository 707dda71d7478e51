#include "ui/design/SymbolImage.h"

#include <QPainter>
#include <QQuickWindow>
#include <cmath>

#include "ui/design/SymbolPainter.h"

namespace quillbay {

SymbolImage::SymbolImage(QQuickItem* parent) : QQuickPaintedItem(parent) {}

void SymbolImage::setName(const QString& name) {
    if (name == name_) return;
    name_ = name;
    Q_EMIT nameChanged();
    update();
}

void SymbolImage::setColor(const QColor& color) {
    if (color == color_) return;
    color_ = color;
    Q_EMIT colorChanged();
    update();
}

void SymbolImage::setSize(double size) {
    if (size == size_) return;
    size_ = size;
    setImplicitSize(size, size);
    Q_EMIT sizeChanged();
    update();
}

void SymbolImage::paint(QPainter* painter) {
    const double scale = window() != nullptr ? window()->effectiveDevicePixelRatio() : 1.0;
    const QImage picture = symbols::image(name_, color_, size_, scale);
    if (picture.isNull()) return;
    // Whole pixels, so that a centred symbol is as sharp as one that fills its item.
    const auto place = [scale, this](double room) { return std::round((room - size_) / 2 * scale) / scale; };
    painter->drawImage(QPointF(place(width()), place(height())), picture);
}

}  // namespace quillbay
