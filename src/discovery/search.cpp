// One search: fetch the updates file, and work out which modules are newer than the recorded ones.
#include "base/text.h"
#include "discovery/updates_file.h"
#include "discovery/version_rules.h"
#include "localization/MLocalization.h"
#include "ports/clock.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"
#include "shell/MGlobal.h"
#include "shell/addresses.h"
#include "shell/frmVerify.h"

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
  const bool received = GetDocument(kUpdatesFile, address, "updates.ini", "ini", Interactive, false);
  if (received) {
    UpdatesIniFile = document_.DocumentFile;
    CollectNewModules();
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

void frmVerify::CollectNewModules() {
  const std::string names = needs_.global.ReadProfileString(kSectionVersions, nullptr, "", UpdatesIniFile);
  for (const std::string& name : Split(names, std::string_view("\0", 1))) {
    if (!Trim(name).empty() && IsNewVersion(Trim(name), UpdatesIniFile)) UpdateNames.push_back(name);
  }
}

bool frmVerify::IsNewVersion(const std::string& ValueName, const std::string& IniFile) {
  const RegData installed =
      needs_.registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey,
                                        Replace(kValueModuleVersion, "[MODULE]", ValueName), std::string(kNoVersion));
  const std::string offered = needs_.global.ReadProfileString(kSectionVersions, ValueName.c_str(), kNoVersion, IniFile);
  return IsNewerVersion(needs_.registry.TextOf(installed), offered);
}

}  // namespace tsly
