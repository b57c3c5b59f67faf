// One search: downloads the updates file and determines which modules are newer than the recorded ones.
#include <algorithm>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "discovery/updates_file.h"
#include "discovery/version_rules.h"
#include "localization/MLocalizationText.h"
#include "ports/clock.h"
#include "ports/files.h"
#include "ports/profile.h"
#include "ports/transfer.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

constexpr const char* kNoVersion = "0.0.0.0";

}  // namespace

void frmVerify::CheckForUpdates(bool Interactive) {
  SearchRun search(search_);
  Interactive ? SearchByHand(search) : SearchSilently(search);
}

void frmVerify::SearchByHand(const SearchRun& search) {
  const SameLoad load(*this);
  Label& link = controls.lblInfo105;
  Font font = link.GetFont();
  link.SetForeColor(kWhite);
  font.underline = false;
  link.SetFont(font);
  if (CheckLinkTexts.size() > 1) link.SetText(CheckLinkTexts[1]);
  link.SetMousePointer(kPointerHourglass);

  const bool retrieved = RetrieveUpdates(true);
  if (!load || search.IsOvertaken()) return;

  link.SetMousePointer(kPointerCustom);
  if (!CheckLinkTexts.empty()) link.SetText(CheckLinkTexts[0]);
  font.underline = true;
  link.SetFont(font);
  link.SetForeColor(kLinkColor);
  if (CheckedOn != 0) {
    if (const auto text = LastCheckText(CheckedOn)) controls.lblInfo104.SetText(*text);
  }

  if (retrieved && UpdateCount() < 1) {
    ShowResMessage(text_key::kNoUpdateAvailable, kIconInformation);
  } else if (retrieved) {
    ShowAvailableUpdates();
  } else if (document_->DocumentReceived != 2) {
    ShowCommunicationError();
  }
}

// Only for a failure without an error state; GetDocument reports those itself.
void frmVerify::ShowCommunicationError() {
  std::string text;
  const auto type = ResString(text_key::kCommunicationErrorVersions);
  const auto message = ResString(text_key::kCommunicationError);
  if (type && message) text = Replace(*message, "[TYPE]", *type);
  if (const std::int32_t code = needs_.netCommand.ResponseCode(); code != 0) {
    text = Replace(text, "[NUMBER]", "2/" + std::to_string(code));
    text = Replace(text, "[DESCRIPTION]", needs_.netCommand.ResponseInfo());
  } else {
    text = Replace(text, "[NUMBER]", "3/10012");
    text = Replace(text, "[DESCRIPTION]", "Timeout");
  }
  needs_.global.ShowMessage(text, kIconWarning);
}

void frmVerify::SearchSilently(const SearchRun& search) {
  const SameLoad load(*this);
  RetrieveUpdates(false);
  if (!load) {
    // A dialog that was loaded again may have another client, whose check is still scheduled.
    if (!Loaded()) ReportStatus(StatusIdle);
    return;
  }
  if (search.IsOvertaken()) {
    // A manual search has taken over and shows its own result; if it found nothing, the client's check is finished.
    if (UpdateCount() < 1) ReportStatus(StatusIdle);
    return;
  }

  if (UpdateCount() < 1) {
    ReportStatus(StatusIdle);
    return Unload();
  }
  for (std::int32_t i = 1; i <= UpdateCount(); ++i) {
    const std::string& name = UpdateNames[static_cast<std::size_t>(i)];
    const std::string stop = needs_.global.ReadProfileString(name, kKeyStopApplication, "no", UpdatesIniFile);
    if (!EndsSilentSearch(stop)) continue;
    ReportStatus(StatusStopRequired);
    CheckedOn = 0;
    return Unload();
  }
  ShowAvailableUpdates();
}

bool frmVerify::RetrieveUpdates(bool Interactive) {
  if (Interactive) toolkit_.SetScreenPointer(kPointerHourglass);
  UpdateNames.assign(1, "");
  std::string address = needs_.registry.TextOf(needs_.registry.GetRegSubkeyValue(
      kLocalMachine, SettingsKey, VersionSubkey, kValueVersionFileUrl, std::string(kUpdatesFileAddress)));
  if (Trim(address).empty()) address = kUpdatesFileAddress;
  document_->DocumentReceived = 0;
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
  UpdatesIniFile = document_->DocumentFile;
  OpenFile* const document = document_->cut_off ? nullptr : document_->file.get();
  return needs_.profiles.Pin(UpdatesIniFile, document) == 0 && !document_->cut_off;
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
