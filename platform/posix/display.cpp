#include "posix/display.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <string_view>

namespace tsly {
namespace {

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

bool DisplayIsThere() {
  const std::string_view platform = Environment("QT_QPA_PLATFORM");
  if (!platform.empty() && !platform.starts_with("xcb")) return true;
  if (platform.empty() && !Environment("WAYLAND_DISPLAY").empty()) return true;
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool usable = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return usable;
}

}  // namespace tsly
