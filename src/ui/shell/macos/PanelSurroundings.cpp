#include "ui/shell/PanelSurroundings.h"

namespace quillbay {

/// Every window is mixed with what lies below.
void shapePanel(QWindow& /*panel*/, double /*cornerRadius*/) {}

/// The Dock shows programs, not windows.
void keepOutOfTaskbar(QWindow& /*panel*/) {}

}  // namespace quillbay
