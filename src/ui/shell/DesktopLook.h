#pragma once

#include <QObject>
#include <memory>

namespace quillbay {

/// What the desktop wants of its programs' looks, followed live. Main thread.
class DesktopLook : public QObject {
    Q_OBJECT

 public:
    using QObject::QObject;

    [[nodiscard]] virtual bool dark() const = 0;
    [[nodiscard]] virtual bool reducedMotion() const = 0;
    /// Whether the desktop has answered, or there is nobody to answer. Until then the rest is a guess.
    [[nodiscard]] virtual bool isKnown() const = 0;

    /// This computer's. Begins to ask and does not wait.
    static std::unique_ptr<DesktopLook> system();

 Q_SIGNALS:
    /// Any of the three.
    void changed();
};

/// Whether the palette that Qt has from the desktop is a dark one.
bool paletteIsDark();

}  // namespace quillbay
