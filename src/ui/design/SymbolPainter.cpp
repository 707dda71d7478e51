#include "ui/design/SymbolPainter.h"

#include <QCache>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>
#include <QSet>
#include <QSvgRenderer>
#include <cmath>
#include <tuple>

namespace quillbay::symbols {

namespace {

/// No symbol is shown nearly as large; a size that is wrong costs no more than this.
constexpr int largestPixels = 1024;
/// Names come from the code, so more unknown ones than this are one mistake repeated.
constexpr qsizetype unknownNamesTold = 64;

struct Key {
    QString name;
    QRgb color;
    double size;
    double scale;

    bool operator==(const Key&) const = default;
};

size_t qHash(const Key& key, size_t seed = 0) {
    return qHashMulti(seed, key.name, key.color, key.size, key.scale);
}

/// Every window of the scene graph's threaded loop paints on a thread of its own, hence the mutex.
struct Shared {
    QMutex mutex;
    QCache<Key, QImage> pictures{cacheLimit};
    QSet<QString> unknown;
};

Shared& shared() {
    static Shared instance;
    return instance;
}

QByteArray withStroke(QByteArray svg, double width) {
    return svg.replace("stroke-width=\"1.75\"", "stroke-width=\"" + QByteArray::number(width) + '"');
}

/// A null image for a name that no file has, or a size of nothing.
QImage draw(const Key& key) {
    QFile file(QStringLiteral(":/qt/qml/Quillbay/symbols/%1.svg").arg(key.name));
    if (!file.open(QIODevice::ReadOnly)) return {};
    QSvgRenderer svg(withStroke(file.readAll(), strokeWidth(key.size)));
    const double side = key.size * key.scale;
    const int pixels = static_cast<int>(std::ceil(side));
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter, QRectF(0, 0, side, side));
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), QColor::fromRgba(key.color));
    }
    picture.setDevicePixelRatio(key.scale);
    return picture;
}

}  // namespace

double strokeWidth(double size) {
    if (size >= 40) return 1.25;
    return size >= 24 ? 1.5 : 1.75;
}

QImage image(const QString& name, const QColor& color, double size, double scale) {
    const double side = size * scale;
    if (name.isEmpty() || !(side > 0) || !(side <= largestPixels)) return {};
    const Key key{name, color.rgba(), size, scale};
    Shared& all = shared();
    const QMutexLocker lock(&all.mutex);
    if (const QImage* known = all.pictures.object(key)) return *known;
    if (all.unknown.contains(name)) return {};
    QImage picture = draw(key);
    if (picture.isNull()) {
        if (all.unknown.size() < unknownNamesTold) all.unknown.insert(name);
        qWarning("There is no symbol \"%s\".", qUtf8Printable(name));
        return {};
    }
    all.pictures.insert(key, new QImage(picture), picture.sizeInBytes());
    return picture;
}

qsizetype cachedBytes() {
    Shared& all = shared();
    const QMutexLocker lock(&all.mutex);
    return all.pictures.totalCost();
}

}  // namespace quillbay::symbols
