#include "ui/shell/DesktopLook.h"

#include <QCoreApplication>
#include <QEvent>

namespace quillbay {

namespace {

/// The menu bar's appearance is in the palette that Qt has from the system.
class PaletteLook final : public DesktopLook {
 public:
    PaletteLook() { QCoreApplication::instance()->installEventFilter(this); }

    [[nodiscard]] bool dark() const override { return dark_; }
    [[nodiscard]] bool reducedMotion() const override { return false; }
    [[nodiscard]] bool isKnown() const override { return true; }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::ApplicationPaletteChange && watched == QCoreApplication::instance()) {
            dark_ = paletteIsDark();
            Q_EMIT changed();
        }
        return false;
    }

 private:
    bool dark_ = paletteIsDark();
};

}  // namespace

std::unique_ptr<DesktopLook> DesktopLook::system() {
    return std::make_unique<PaletteLook>();
}

}  // namespace quillbay
