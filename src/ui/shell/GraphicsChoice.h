#pragma once

namespace quillbay {

/// Chooses what draws the windows, before the first one: the graphics processor where there is one, else Qt's
/// own software renderer, which is lighter than a graphics driver that only computes. The user's choice in
/// the environment (QT_QUICK_BACKEND) holds.
void chooseGraphics();

}  // namespace quillbay
