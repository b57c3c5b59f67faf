#include "qt/qt_topmost.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWindow>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace tsly {
namespace {

xcb_atom_t Atom(xcb_connection_t* connection, const char* name) {
  const auto length = static_cast<std::uint16_t>(std::strlen(name));
  const auto cookie = xcb_intern_atom(connection, 0, length, name);
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace

void KeepAbove(QWindow& window) {
  window.setFlag(Qt::WindowStaysOnTopHint);  // for the next time it is shown
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  // The offscreen platform has the interface but no connection.
  xcb_connection_t* connection = x11 == nullptr ? nullptr : x11->connection();
  if (connection == nullptr) return;

  constexpr std::uint32_t add_state = 1, from_application = 1;  // EWMH's _NET_WM_STATE_ADD and source indication
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = static_cast<xcb_window_t>(window.winId());
  message.type = Atom(connection, "_NET_WM_STATE");
  message.data.data32[0] = add_state;
  message.data.data32[1] = Atom(connection, "_NET_WM_STATE_ABOVE");
  message.data.data32[3] = from_application;
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

}  // namespace tsly
