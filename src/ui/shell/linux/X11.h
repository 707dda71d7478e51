#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string_view>

namespace quillbay {

// What Qt does not offer of its X11 display. Main thread; each question waits for the display's answer.

/// Qt's own connection; null where the windows are not on X11.
xcb_connection_t* x11Connection();

/// 0 when the display does not answer.
std::uint32_t x11Atom(xcb_connection_t* x11, std::string_view name);

/// The window that holds the selection, by which one program of a kind makes itself known; 0 for none.
std::uint32_t x11SelectionOwner(xcb_connection_t* x11, std::uint32_t selection);

/// The window that has the keyboard; 0 or 1 where it is no particular one (Xlib, XGetInputFocus).
std::uint32_t x11InputFocus(xcb_connection_t* x11);

}  // namespace quillbay
