#include "qt/display.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QLibraryInfo>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "posix/descriptor.h"

namespace tsly {
namespace {

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool XServerAnswers() {
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool answers = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return answers;
}

bool CanConnect(const std::string& socket_path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socket_path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, socket_path.c_str(), socket_path.size() + 1);
  const Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return connection && connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool HasWaylandPlugin() {
  const QDir platforms(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
  return !platforms.entryList({QStringLiteral("libqwayland*")}, QDir::Files).isEmpty();
}

bool CompositorAnswers(const std::string& display) {
  if (display.empty()) return false;
  const std::string path = display.front() == '/' ? display : Environment("XDG_RUNTIME_DIR") + '/' + display;
  return path.front() == '/' && CanConnect(path) && HasWaylandPlugin();
}

// One of the toolkit's platforms: a name, and its settings after a colon.
bool PlatformWorks(std::string_view platform) {
  static constexpr std::string_view kWithoutServer[] = {"offscreen", "minimal", "vnc", "linuxfb", "eglfs"};
  const std::string_view name = platform.substr(0, platform.find(':'));
  if (name.starts_with("xcb")) return XServerAnswers();
  if (name.starts_with("wayland")) {
    const std::string display = Environment("WAYLAND_DISPLAY");
    return CompositorAnswers(display.empty() ? "wayland-0" : display);  // the protocol's default
  }
  return std::ranges::find(kWithoutServer, name) != std::end(kWithoutServer);
}

}  // namespace

bool DisplayIsThere() {
  const std::string platforms = Environment("QT_QPA_PLATFORM");
  if (platforms.empty()) return CompositorAnswers(Environment("WAYLAND_DISPLAY")) || XServerAnswers();
  for (std::string_view rest = platforms; !rest.empty();) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    if (PlatformWorks(rest.substr(0, end))) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

}  // namespace tsly
