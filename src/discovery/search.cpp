// One search: downloads the updates file and determines which modules are newer than the recorded ones.
#include <algorithm>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/addresses.h"
#include "dialog/frmVerify.h"
#include "discovery/updates_file.h"
#include "discovery/version_rules.h"
#include "localization/MLocalization.h"
#include "ports/clock.h"
#include "ports/files.h"
#include "ports/profile.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

constexpr const char* kNoVersion = "0.0.0.0";

}  // namespace

bool frmVerify::RetrieveUpdates(bool Interactive) {
  if (Interactive) toolkit_.SetScreenPointer(kPointerHourglass);
  UpdateNames.assign(1, "");
  std::string address = needs_.registry.TextOf(needs_.registry.GetRegSubkeyValue(
      kLocalMachine, SettingsKey, VersionSubkey, kValueVersionFileUrl, std::string(kUpdatesFileAddress)));
  if (Trim(address).empty()) address = kUpdatesFileAddress;
  document_.DocumentReceived = 0;
  // If the address can't be read now, the default address could give another site's updates file.
  bool received = !needs_.registry.FailedForNow();
  received = received && GetDocument(kUpdatesFile, address, "updates.ini", "ini", Interactive, false);
  received = received && TakeUpdatesFile() && CollectNewModules();
  if (received) {
    if (UpdateCount() > 0) {
      ApplyExcludes(UpdateNames, [this](const std::string& module) {
        return needs_.global.ReadProfileString(kSectionExcludes, module.c_str(), "", UpdatesIniFile);
      });
    }
    if (UpdateCount() == 0) CheckedOn = needs_.clock.Now();
  }
  toolkit_.SetScreenPointer(kPointerDefault);
  return received;
}

// The search and its list use one reading of the file, because another process may store its own updates file under the
// same name. A document that couldn't be read is a failed search; one that couldn't be stored is empty.
bool frmVerify::TakeUpdatesFile() {
  needs_.profiles.Unpin(UpdatesIniFile);
  UpdatesIniFile = document_.DocumentFile;
  OpenFile* const document = document_.cut_off ? nullptr : document_.file.get();
  return needs_.profiles.Pin(UpdatesIniFile, document) == 0 && !document_.cut_off;
}

// False if the recorded versions can't be read now: it might offer modules that are already installed.
bool frmVerify::CollectNewModules() {
  const std::string names = needs_.global.ReadProfileString(kSectionVersions, nullptr, "", UpdatesIniFile);
  std::string_view rest = names;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    const std::string name(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (Trim(name).empty()) continue;
    if (IsNewVersion(Trim(name), UpdatesIniFile)) UpdateNames.push_back(name);
    if (!needs_.registry.FailedForNow()) continue;
    UpdateNames.assign(1, "");
    return false;
  }
  return true;
}

bool frmVerify::IsNewVersion(const std::string& ValueName, const std::string& IniFile) {
  const RegData installed =
      needs_.registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey,
                                        Replace(kValueModuleVersion, "[MODULE]", ValueName), std::string(kNoVersion));
  const std::string offered = needs_.global.ReadProfileString(kSectionVersions, ValueName.c_str(), kNoVersion, IniFile);
  return IsNewerVersion(needs_.registry.TextOf(installed), offered);
}

}  // namespace tsly
