#include "posix/close_window.h"

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "ports/system_codes.h"

namespace tsly {
namespace {

using namespace std::chrono_literals;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

xcb_atom_t Atom(xcb_connection_t* display, std::string_view name) {
  const auto asked = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display, asked, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

enum class CloseSupport { kNoWindow, kUnsupported, kSupported };

CloseSupport CloseSupportOf(xcb_connection_t* display, xcb_window_t window, xcb_atom_t protocols,
                            xcb_atom_t delete_window) {
  const auto asked = xcb_get_property(display, 0, window, protocols, XCB_ATOM_ATOM, 0, 64);
  const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(display, asked, nullptr));
  if (!reply) return CloseSupport::kNoWindow;
  if (reply->format != 32) return CloseSupport::kUnsupported;
  const std::span atoms(static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get())), reply->value_len);
  return std::ranges::find(atoms, delete_window) == atoms.end() ? CloseSupport::kUnsupported : CloseSupport::kSupported;
}

// Also an error from selecting the window's events, if the window is already gone.
bool IsEnd(const xcb_generic_event_t& event, xcb_window_t window) {
  if (event.response_type == 0) return reinterpret_cast<const xcb_generic_error_t&>(event).error_code == XCB_WINDOW;
  return (event.response_type & 0x7f) == XCB_DESTROY_NOTIFY &&
         reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window;
}

void WaitForEnd(xcb_connection_t* display, xcb_window_t window, std::chrono::milliseconds longest,
                const std::function<void()>& repaint) {
  const auto latest = std::chrono::steady_clock::now() + longest;
  auto next_repaint = std::chrono::steady_clock::now() + 50ms;
  for (;;) {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(display)}) {
      if (IsEnd(*event, window)) return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (xcb_connection_has_error(display) != 0 || now > latest) return;
    if (now >= next_repaint) {
      if (repaint) repaint();
      next_repaint = now + 50ms;
    }
    pollfd readable{xcb_get_file_descriptor(display), POLLIN, 0};
    poll(&readable, 1, 50);
  }
}

}  // namespace

int AskWindowToClose(std::uint32_t window, std::chrono::milliseconds longest, const std::function<void()>& repaint) {
  const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection(xcb_connect(nullptr, nullptr),
                                                                                  xcb_disconnect);
  xcb_connection_t* display = connection.get();
  if (xcb_connection_has_error(display) != 0) return kInvalidWindowHandle;

  const xcb_atom_t protocols = Atom(display, "WM_PROTOCOLS");
  const xcb_atom_t delete_window = Atom(display, "WM_DELETE_WINDOW");
  switch (CloseSupportOf(display, window, protocols, delete_window)) {
    case CloseSupport::kNoWindow:
      return kInvalidWindowHandle;
    case CloseSupport::kUnsupported:
      return kSuccess;
    case CloseSupport::kSupported:
      break;
  }

  const std::uint32_t wanted = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(display, window, XCB_CW_EVENT_MASK, &wanted);
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = protocols;
  message.data.data32[0] = delete_window;
  message.data.data32[1] = XCB_CURRENT_TIME;
  xcb_send_event(display, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
  xcb_flush(display);
  WaitForEnd(display, window, longest, repaint);
  return kSuccess;
}

}  // namespace tsly
