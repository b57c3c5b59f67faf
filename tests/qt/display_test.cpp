#include "qt/display.h"

#include <gtest/gtest.h>

#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

TEST(Display, IsTrustedOnlyWhereAWindowCanBeShown) {
  const TempFolder folder;
  folder.Write("no-socket", "");
  const std::string no_socket = folder.NativePath("no-socket").string();
  const struct {
    const char* platform;
    std::string wayland;
    bool is_there;
  } cases[] = {
      {"",                  "",          false},
      {"",                  "nothing",   false},
      {"",                  "no-socket", false},
      {"",                  no_socket,   false},
      {"wayland",           "nothing",   false},
      {"wayland-egl",       "",          false},
      {"xcb",               "",          false},
      {"nonsense",          "",          false},
      {"offscreenish",      "",          false},
      {"offscreen",         "",          true },
      {"vnc:size=640x480",  "",          true },
      {"wayland;xcb",       "nothing",   false},
      {"wayland;offscreen", "nothing",   true },
  };
  for (const auto& c : cases) {
    const ScopedEnvironment environment({
        {"DISPLAY",         std::nullopt                },
        {"QT_QPA_PLATFORM", c.platform                  },
        {"WAYLAND_DISPLAY", c.wayland                   },
        {"XDG_RUNTIME_DIR", folder.NativePath().string()},
    });
    EXPECT_EQ(DisplayIsThere(), c.is_there) << c.platform << " " << c.wayland;
  }
}

}  // namespace
}  // namespace tsly
