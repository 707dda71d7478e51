#include "ui/shell/GraphicsChoice.h"

namespace quillbay {

/// Every Mac has a graphics processor.
void chooseGraphics() {}

}  // namespace quillbay
