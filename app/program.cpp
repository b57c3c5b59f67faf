#include "program.h"

#include <chrono>
#include <memory>

#include "dialog/CheckNew.h"
#include "ports/automation.h"
#include "ports/clock.h"
#include "ports/event_loop.h"

namespace tsly {
namespace {

// How long a process that was started for clients waits for the first one.
constexpr std::chrono::seconds kFirstClient{30};

}  // namespace

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
              .profiles = platform.profiles,
              .clock = platform.clock,
              .locale = platform.locale,
              .shell = platform.shell,
              .toolkit = platform.toolkit,
              .loop = platform.loop}),
      automation_(platform.automation),
      clock_(platform.clock),
      loop_(platform.loop),
      shell_(platform.shell) {}

bool Program::Run() {
  if (global.StartMode() == 0) {
    global.Main(dialog);
    while (dialog.Loaded()) loop_.Wait(kForever);
    return true;
  }
  const AutomationStart start = automation_.Start([this]() -> std::shared_ptr<AutomationObject> {
    return std::make_shared<CheckNew>(
        CheckNew::Needs{.global = global, .registry = registry, .dialog = dialog, .clock = clock_, .shell = shell_});
  });
  // Another process already serves: Main would delete its log.
  if (start == AutomationStart::kServing) {
    global.Main(dialog);
    ServeClients();
  }
  return start != AutomationStart::kNotReachable;
}

void Program::ServeClients() {
  const SteadyTime first_client_by = clock_.Steady() + kFirstClient;
  do {
    while (IsNeeded() || (!automation_.HasHeldObjects() && clock_.Steady() <= first_client_by)) {
      loop_.Wait(automation_.HasHeldObjects() ? kForever : first_client_by);
    }
    dialog.RunHandler([this] { dialog.Unload(); });
  } while (!automation_.Leave());
}

// Called between two events, when no routine runs and no message is open.
bool Program::IsNeeded() const {
  const bool armed = dialog.tmrVerifyVersion.Enabled() || dialog.tmrPrintDots.Enabled();
  return automation_.ObjectsHeld() > 0 || (dialog.Loaded() && (dialog.Visible() || armed));
}

}  // namespace tsly
