#include "qt/display.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

TEST(Display, IsFoundOnlyIfItCanShowWindows) {
  const TempFolder folder;
  folder.Write("no-socket", "");
  const std::string no_socket = folder.NativePath("no-socket").string();
  const std::tuple<const char*, std::string, bool> cases[] = {
      {"",                  "",          false},
      {"",                  "no-socket", false},
      {"",                  no_socket,   false},
      {"wayland",           "nothing",   false},
      {"wayland-egl",       "",          false},
      {"xcb",               "",          false},
      {"offscreenish",      "",          false},
      {"offscreen",         "",          true },
      {"vnc:size=640x480",  "",          true },
      {"wayland;xcb",       "nothing",   false},
      {"wayland;offscreen", "nothing",   true },
  };
  const ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.NativePath().string());
  for (const auto& [platform, wayland, is_there] : cases) {
    const ScopedEnvironment environment({
        {"DISPLAY",         std::nullopt},
        {"QT_QPA_PLATFORM", platform    },
        {"WAYLAND_DISPLAY", wayland     },
    });
    EXPECT_EQ(DisplayIsThere(), is_there) << platform << " " << wayland;
  }
}

}  // namespace
}  // namespace tsly
