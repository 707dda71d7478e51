#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

namespace quillbay {

/// What the desktop wants of the windows' looks. One per QML engine; the program sets it from the desktop
/// and on every change there, and tests set it as they need it. Used on the main thread.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY changed)
    Q_PROPERTY(bool reducedMotion READ reducedMotion WRITE setReducedMotion NOTIFY changed)
    /// The families of the desktop's fonts.
    Q_PROPERTY(QString fontFamily READ fontFamily WRITE setFontFamily NOTIFY changed)
    Q_PROPERTY(QString fixedFontFamily READ fixedFontFamily WRITE setFixedFontFamily NOTIFY changed)
    /// The height of the strip above the content of a window whose bar is transparent; 0 with the window
    /// manager's own bar.
    Q_PROPERTY(int titleStripHeight READ titleStripHeight CONSTANT)

 public:
    /// Light, with motion, in the fonts that Qt has from the desktop.
    explicit Appearance(QObject* parent = nullptr);

    [[nodiscard]] bool dark() const { return dark_; }
    [[nodiscard]] bool reducedMotion() const { return reducedMotion_; }
    [[nodiscard]] QString fontFamily() const { return fontFamily_; }
    [[nodiscard]] QString fixedFontFamily() const { return fixedFontFamily_; }
    [[nodiscard]] int titleStripHeight() const { return 0; }

    void setDark(bool dark);
    void setReducedMotion(bool reduced);
    void setFontFamily(const QString& family);
    void setFixedFontFamily(const QString& family);

 Q_SIGNALS:
    void changed();

 private:
    bool dark_ = false;
    bool reducedMotion_ = false;
    QString fontFamily_;
    QString fixedFontFamily_;
};

}  // namespace quillbay
