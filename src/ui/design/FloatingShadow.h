#pragma once

#include <QColor>
#include <QQmlEngine>
#include <QQuickPaintedItem>

namespace quillbay {

/// The soft shadow of a surface that floats. The item reaches `reach` points beyond the surface on every
/// side, and `drop` more below it. Painted once per size and colour: an effect of the scene graph would be
/// drawn anew for every frame, and not at all by the software renderer.
class FloatingShadow : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged REQUIRED)
    /// In points: how far the shadow is soft.
    Q_PROPERTY(double reach READ reach CONSTANT)
    /// In points: how far it lies below the surface.
    Q_PROPERTY(double drop READ drop CONSTANT)

 public:
    explicit FloatingShadow(QQuickItem* parent = nullptr);

    [[nodiscard]] QColor color() const { return color_; }
    void setColor(const QColor& color);
    [[nodiscard]] double reach() const;
    [[nodiscard]] double drop() const;

    void paint(QPainter* painter) override;

 Q_SIGNALS:
    void colorChanged();

 private:
    QColor color_;
};

}  // namespace quillbay
