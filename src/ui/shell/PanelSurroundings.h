#pragma once

#include <QWindow>

namespace quillbay {

// What a frameless panel needs of its desktop beyond what Qt does for it.

/// Where nothing mixes windows with what lies below, translucent corners would be black: there the corners
/// are cut off instead. To be called whenever the panel's size has changed.
void shapePanel(QWindow& panel, double cornerRadius);

/// A panel is no window to switch to, so it has no place in a list of them. To be called once it is shown.
void keepOutOfTaskbar(QWindow& panel);

}  // namespace quillbay
