#pragma once

namespace quillbay {

/// Makes the running program an application in the eyes of the desktop: with an icon of its own among the
/// running ones, a menu, and windows that the desktop may restore. Called once, on the main thread, before
/// the first window; only a program with windows calls it. Where every program with a window is one (Linux),
/// there is nothing to do.
void becomeRegularApplication();

}  // namespace quillbay
