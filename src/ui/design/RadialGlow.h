#pragma once

#include <QColor>
#include <QQmlEngine>
#include <QQuickPaintedItem>

namespace quillbay {

/// A quarter of a soft round light, which stands in a corner of the item and fades to nothing at the item's
/// far sides. Painted once per size and colour.
class RadialGlow : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// At its strongest, in the corner; the opacity counts.
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged REQUIRED)
    Q_PROPERTY(Corner corner READ corner WRITE setCorner NOTIFY cornerChanged REQUIRED)

 public:
    enum class Corner { TopLeft, BottomRight };
    Q_ENUM(Corner)

    explicit RadialGlow(QQuickItem* parent = nullptr);

    [[nodiscard]] QColor color() const { return color_; }
    [[nodiscard]] Corner corner() const { return corner_; }
    void setColor(const QColor& color);
    void setCorner(Corner corner);
    void paint(QPainter* painter) override;

 Q_SIGNALS:
    void colorChanged();
    void cornerChanged();

 private:
    QColor color_;
    Corner corner_ = Corner::TopLeft;
};

}  // namespace quillbay
