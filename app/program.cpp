#include "program.h"

#include "ports/event_loop.h"

namespace tsly {

Program::Program(const Platform& platform, std::int32_t start_mode, std::string command_line)
    : global({.folders = platform.folders,
              .files = platform.files,
              .profiles = platform.profiles,
              .clock = platform.clock,
              .shell = platform.shell,
              .toolkit = platform.toolkit,
              .loop = platform.loop,
              .start_mode = start_mode,
              .command_line = std::move(command_line)}),
      registry(platform.registry, platform.locale),
      temp_files(global, platform.folders, platform.files),
      localization(global, registry, platform.files, platform.locale),
      dialog({.global = global,
              .registry = registry,
              .temp_files = temp_files,
              .localization = localization,
              .netCommand = platform.transfer,
              .unzip = platform.unzip,
              .files = platform.files,
              .clock = platform.clock,
              .locale = platform.locale,
              .shell = platform.shell,
              .toolkit = platform.toolkit,
              .loop = platform.loop}),
      loop_(platform.loop) {}

void Program::Run() {
  global.Main(dialog);
  while (dialog.Loaded()) loop_.Wait(kForever);
}

}  // namespace tsly
