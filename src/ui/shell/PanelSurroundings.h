#pragma once

#include <QWindow>

namespace quillbay {

// What a frameless panel needs of its desktop beyond what Qt does for it.

/// Where nothing mixes windows with what lies below, translucent corners would be black: there the corners
/// are cut off instead. To be called whenever the panel's size has changed.
void shapePanel(QWindow& panel, double cornerRadius);

/// A panel is no window to switch to, so it has no place in a list of them. To be called once it is shown.
void keepOutOfTaskbar(QWindow& panel);

/// Whether the desktop has not given the panel the keyboard. Qt's own word for that does not do: it counts a
/// window as active that a window manager has never answered for. False where it cannot be told.
bool lacksKeyboard(QWindow& panel);

/// Whether the panel is told of presses of the pointer wherever they are, and nobody else is. Without effect
/// where the desktop lets no window have that, or needs none to.
void takePointer(QWindow& panel, bool take);

}  // namespace quillbay
