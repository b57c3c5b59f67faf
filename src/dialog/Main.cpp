#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "ports/folders.h"

namespace tsly {

void MGlobal::Main(frmVerify& dialog) {
  AppPath = WithBackslash(needs_.folders.ProgramFolder());
  TargetAppPath = AppPath;
  ShowUpdates = false;
  StartupFailed = false;
  ResetLogFile();
  for (const std::string& token : Split(needs_.command_line, " ")) ReadToken(LowerCase(Trim(token)));
  if (StartMode() != 0) return;

  dialog.RunHandler([&] { dialog.Load(); });
  dialog.UpdaterObject = nullptr;
  if (StartupFailed) return dialog.RunHandler([&] { dialog.Unload(); });
  // Messages and the search process events: a dialog that was closed meanwhile stays closed.
  if (ShowUpdates && dialog.Loaded()) dialog.RunHandler([&] { dialog.ShowTheResults(); });
  if (dialog.Loaded()) dialog.RunHandler([&] { dialog.Show(); });
}

void MGlobal::ReadToken(const std::string& token) {
  static const std::string kWindow = "/window:";
  if (token == "/wrenk") {
    AppPath = "f:\\Tessaly 7.0\\Sources\\";
    TargetAppPath = "f:\\Tessaly 7.0\\Tests\\PF\\Tessaly Studio\\";
  }
  if (token == "/showupdates") ShowUpdates = true;
  if (token.starts_with(kWindow)) HostWindow = LeadingHex(token.substr(kWindow.size()));
}

}  // namespace tsly
