#include "ui/shell/linux/X11.h"

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace quillbay {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

xcb_connection_t* x11Connection() {
    // Other platforms have the interface too, and nothing behind it.
    if (QGuiApplication::platformName() != QLatin1String("xcb")) return nullptr;
    const auto* const native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return native == nullptr ? nullptr : native->connection();
}

std::uint32_t x11Atom(xcb_connection_t* x11, std::string_view name) {
    const auto asked = xcb_intern_atom(x11, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(x11, asked, nullptr));
    return reply ? reply->atom : 0;
}

std::uint32_t x11SelectionOwner(xcb_connection_t* x11, std::uint32_t selection) {
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> reply(
        xcb_get_selection_owner_reply(x11, xcb_get_selection_owner(x11, selection), nullptr));
    return reply ? reply->owner : 0;
}

std::uint32_t x11InputFocus(xcb_connection_t* x11) {
    const std::unique_ptr<xcb_get_input_focus_reply_t, Free> reply(
        xcb_get_input_focus_reply(x11, xcb_get_input_focus(x11), nullptr));
    return reply ? reply->focus : 0;
}

}  // namespace quillbay
