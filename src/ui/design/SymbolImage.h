#pragma once

#include <QColor>
#include <QQmlEngine>
#include <QQuickPaintedItem>
#include <QString>

namespace quillbay {

/// One of the symbols below symbols/, in one colour, in the middle of the item. The stroke follows the size,
/// so that symbols of all sizes look equally heavy. An unknown name paints nothing and says so in the log; an
/// empty one paints nothing.
class SymbolImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged REQUIRED)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged REQUIRED)
    /// In points; both sides.
    Q_PROPERTY(double size READ size WRITE setSize NOTIFY sizeChanged REQUIRED)

 public:
    explicit SymbolImage(QQuickItem* parent = nullptr);

    [[nodiscard]] QString name() const { return name_; }
    [[nodiscard]] QColor color() const { return color_; }
    [[nodiscard]] double size() const { return size_; }
    void setName(const QString& name);
    void setColor(const QColor& color);
    void setSize(double size);

    void paint(QPainter* painter) override;

 Q_SIGNALS:
    void nameChanged();
    void colorChanged();
    void sizeChanged();

 private:
    QString name_;
    QColor color_;
    double size_ = 0;
};

}  // namespace quillbay
