#include "ui/shell/PanelSurroundings.h"

namespace quillbay {

/// Every window is mixed with what lies below.
void shapePanel(QWindow& /*panel*/, double /*cornerRadius*/) {}

/// The Dock shows programs, not windows.
void keepOutOfTaskbar(QWindow& /*panel*/) {}

/// A program that opens a window there gets the keyboard with it.
bool lacksKeyboard(QWindow& /*panel*/) {
    return false;
}

void takePointer(QWindow& /*panel*/, bool /*take*/) {}

}  // namespace quillbay
