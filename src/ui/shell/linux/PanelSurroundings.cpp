#include "ui/shell/PanelSurroundings.h"

#include <QPainterPath>
#include <QPolygon>
#include <QRegion>

#include "ui/shell/linux/X11.h"

namespace quillbay {

void shapePanel(QWindow& panel, double cornerRadius) {
    xcb_connection_t* const x11 = x11Connection();
    if (x11 == nullptr || x11SelectionOwner(x11, x11Atom(x11, "_NET_WM_CM_S0")) != 0) return;
    QPainterPath outline;
    outline.addRoundedRect(QRectF(QPointF(), panel.size()), cornerRadius, cornerRadius);
    panel.setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void keepOutOfTaskbar(QWindow& panel) {
    xcb_connection_t* const x11 = x11Connection();
    if (x11 == nullptr) return;
    // A request to the window manager (Extended Window Manager Hints, 1.5, _NET_WM_STATE).
    constexpr std::uint32_t add = 1;
    constexpr std::uint32_t fromApplication = 1;
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = static_cast<xcb_window_t>(panel.winId());
    request.type = x11Atom(x11, "_NET_WM_STATE");
    request.data.data32[0] = add;
    request.data.data32[1] = x11Atom(x11, "_NET_WM_STATE_SKIP_TASKBAR");
    request.data.data32[2] = x11Atom(x11, "_NET_WM_STATE_SKIP_PAGER");
    request.data.data32[3] = fromApplication;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x11)).data->root;
    xcb_send_event(x11, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&request));
    xcb_flush(x11);
}

bool lacksKeyboard(QWindow& panel) {
    xcb_connection_t* const x11 = x11Connection();
    return x11 != nullptr && x11InputFocus(x11) != static_cast<xcb_window_t>(panel.winId());
}

void takePointer(QWindow& panel, bool take) {
    // Compositors of Wayland give it to menus alone.
    if (x11Connection() != nullptr) panel.setMouseGrabEnabled(take);
}

}  // namespace quillbay
