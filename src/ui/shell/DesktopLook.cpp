#include "ui/shell/DesktopLook.h"

#include <QGuiApplication>
#include <QPalette>

namespace quillbay {

bool paletteIsDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace quillbay
