// The Linux edition: creates the ports and runs the program.
#include <QDBusConnection>
#include <csignal>
#include <iostream>

#include "desktop_application.h"
#include "ports/platform.h"
#include "posix/curl_transfer.h"
#include "posix/home.h"
#include "posix/ini_reader.h"
#include "posix/posix_files.h"
#include "posix/posix_folders.h"
#include "posix/posix_locale.h"
#include "posix/posix_shell.h"
#include "posix/posix_unzip.h"
#include "posix/sqlite_registry.h"
#include "posix/system_clock.h"
#include "program.h"
#include "qt/dbus_automation.h"
#include "qt/display.h"
#include "qt/qt_event_loop.h"
#include "qt/qt_toolkit.h"
#include "start_arguments.h"

namespace {

constexpr int kNoDisplay = 3;
constexpr int kNoSessionBus = 4;

int RunProgram(const tsly::StartArguments& start, tsly::QtToolkit::Interaction interaction) {
  using namespace tsly;
  const Home home = Home::FromEnvironment();
  const auto code_page = CodePageFromEnvironment();
  SystemClock clock;
  QtEventLoop loop(clock);
  QtToolkit toolkit(loop, interaction);
  SqliteRegistry registry(home.user_registry, home.machine_registry);
  IniReader profiles(code_page);
  PosixFolders folders(home);
  PosixFiles files;
  PosixLocale locale(code_page);
  PosixShell shell({.repaint = [&] { toolkit.RepaintAll(); }});
  PosixUnzipFactory unzip;
  DbusAutomation automation(loop, QDBusConnection::sessionBus());
  CurlTransfer transfer(loop, loop);
  Program program({.registry = registry,
                   .profiles = profiles,
                   .folders = folders,
                   .files = files,
                   .clock = clock,
                   .transfer = transfer,
                   .unzip = unzip,
                   .shell = shell,
                   .locale = locale,
                   .toolkit = toolkit,
                   .loop = loop,
                   .automation = automation},
                  start.mode == StartMode::kForClients ? 1 : 0, start.command_line);
  if (program.Run()) return 0;
  std::cerr << "tslyCheckNew: no session bus for automation clients\n";
  return kNoSessionBus;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a closed connection or pipe becomes an error code
  const tsly::StartArguments start = tsly::ReadStartArguments(argc, argv, tsly::kStartSwitches);
  const bool for_clients = start.mode == tsly::StartMode::kForClients;
  auto interaction =
      for_clients ? tsly::QtToolkit::Interaction::kBackground : tsly::QtToolkit::Interaction::kForeground;
  if (!tsly::DisplayIsThere()) {
    if (!for_clients) {
      std::cerr << "tslyCheckNew: no display\n";
      return kNoDisplay;
    }
    // A process for clients runs without a display: it mostly works in the background.
    interaction = tsly::QtToolkit::Interaction::kHeadless;
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  const tsly::DesktopApplication application(argv);
  return RunProgram(start, interaction);
}
