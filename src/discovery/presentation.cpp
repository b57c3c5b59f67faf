// Presents the result of a search: a message, a report to the client, or the list of updates.
#include "base/step.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "discovery/updates_file.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"
#include "ports/event_loop.h"
#include "ports/shell.h"

namespace tsly {
namespace {

constexpr std::int32_t kSmallScroll = 60;

}  // namespace

void frmVerify::ShowAvailableUpdates() {
  if (const auto text = ResString(UpdateCount() < 2 ? text_key::kPendingUpdates1 : text_key::kPendingUpdates2)) {
    controls.lblInfo201.SetText(*text);
  }
  controls.UpdateItem.UnloadAllButModel();
  Twips top = 0;
  for (std::int32_t i = 1; i <= UpdateCount(); ++i) {
    // The 16-bit indexes of a control array limit the number of items.
    if (Step([&] { controls.UpdateItem.Load(i); })) break;
    AvailableUpdate& item = controls.UpdateItem(i);
    FillUpdateDataFromIni(i, i == UpdateCount());
    const Twips width = controls.vscUpdates.Visible() ? controls.vscUpdates.Left() : controls.picUpdates.Width();
    item.Move({0, top, width, item.Height()});
    top += item.Height();
    if (top > controls.picUpdates.Height()) MakeRoomForScrollBar(i, top);
    item.SetVisible(true);
  }
  controls.picStep200.Move({0, 0, controls.picStep200.Width(), controls.picStep200.Height()});
  controls.picStep200.SetVisible(true);
  controls.picStep100.SetVisible(false);
  // In a client's check the user may be typing elsewhere.
  if (!Visible()) BringUp(needs_.global.StartMode() == 0 ? Keyboard::kTake : Keyboard::kLeave);
}

void frmVerify::MakeRoomForScrollBar(std::int32_t last, Twips& top) {
  ScrollBar& bar = controls.vscUpdates;
  if (!bar.Visible()) {
    top = 0;
    for (std::int32_t j = 1; j <= last; ++j) {
      AvailableUpdate& item = controls.UpdateItem(j);
      item.SetWidth(bar.Left());
      item.SetTop(top);
      top += item.Height();
    }
  }
  const Twips seen = controls.picUpdates.Height();
  bar.SetMin(0);
  Step([&] { bar.SetMax(top - seen); });  // a list too long for 16 bits keeps the last valid number
  bar.SetSmallChange(kSmallScroll);
  bar.SetLargeChange(seen);
  bar.SetValue(0);
  bar.SetVisible(true);
}

std::string frmVerify::LocalizedText(const std::string& key) {
  const auto read = [&](const std::string& language) {
    return Trim(needs_.global.ReadProfileString(kSectionLocalization + language, key.c_str(), "", UpdatesIniFile));
  };
  const std::string text = read(needs_.localization.GetLanguageInfo(0));
  return text.empty() ? read(kFallbackLanguage) : text;
}

// Looks up the default in the language file only if the updates file lacks the key, so that a missing default doesn't
// lose an existing value.
std::optional<std::string> frmVerify::ReadUpdate(const std::string& section, const std::string& key,
                                                 const ResourceKey& fallback) {
  std::string value = needs_.global.ReadProfileString(section, key.c_str(), "", UpdatesIniFile);
  if (!value.empty() || needs_.global.ProfileKeyExists(section, key, UpdatesIniFile)) return value;
  return ResString(fallback);
}

void frmVerify::FillUpdateDataFromIni(std::int32_t Index, bool IsLast) {
  AvailableUpdate& item = controls.UpdateItem(Index);
  const std::string name = UpdateNames[static_cast<std::size_t>(Index)];
  const auto read = [&](const std::string& key, const std::string& fallback) {
    return needs_.global.ReadProfileString(name, key.c_str(), fallback.c_str(), UpdatesIniFile);
  };

  item.UpdateElementName = name;
  item.SetItem(LocalizedText(name + ":Description"));
  if (const auto version = ReadUpdate(kSectionVersions, name, text_key::kDefaultVersion)) {
    item.UpdateElementVersion = *version;
  }
  item.SetExplanation(LocalizedText(name + ":Summary"));
  item.UpdateElementDesc = LocalizedText(name + ":More info");
  item.UpdateElementDocType = DocumentKindOf(read(kKeyInstallPack, "no"));
  item.UpdateElementUrl = read(kKeyDownloadUrl, "");
  item.UpdateElementSize = read(kKeySize, "0");
  item.UpdateElementCRC = read(kKeyCrc32, "");
  item.UpdateElementStopPgm = StopsAtInstallation(read(kKeyStopApplication, "no"));
  item.SetUpdateElementAction(0, "");
  for (std::int32_t n = 1;; ++n) {
    const std::string line = read(kKeyAction + std::to_string(n), "");
    if (line.empty()) break;
    item.SetUpdateElementAction(n, line);
  }
  std::string version =
      Replace(ResString(text_key::kVersionInformation).value_or(""), "[VERSION]", item.UpdateElementVersion);
  if (const auto released = ReadUpdate(name, kKeyReleased, text_key::kDefaultReleaseDate)) {
    version = Replace(version, "[RELEASED]", *released);
  }
  item.SetVersion(version);
  if (const auto text = ResString(text_key::kClickForMoreInfo)) item.SetMoreInfo(*text);
  item.SetHideBottomLine(IsLast);
}

void frmVerify::vscUpdates_Change() {
  Twips offset = -controls.vscUpdates.Value();
  for (std::int32_t i = 1; i <= UpdateCount(); ++i) {
    Step([&] {
      AvailableUpdate& item = controls.UpdateItem(i);
      item.SetTop(offset);
      offset += item.Height();
    });
  }
}

void frmVerify::vscUpdates_Scroll() { vscUpdates_Change(); }

void frmVerify::vscUpdates_GotFocus() { SetFocus(controls.txtFocus); }

void frmVerify::UpdateItem_MoreInfoClicked(std::int16_t, const std::string& URL) {
  toolkit_.SetScreenPointer(kPointerHourglass);
  needs_.shell.OpenAddress(URL);
  needs_.loop.ProcessPendingEvents();
  toolkit_.SetScreenPointer(kPointerDefault);
}

}  // namespace tsly
