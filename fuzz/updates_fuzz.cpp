// From an updates file to the list of updates: a manual search in the whole program. Input: a line "module=version;..."
// with the installed versions, then the updates file.
#include "base/text.h"
#include "discovery/updates_file.h"
#include "discovery/version_rules.h"
#include "fuzz_app.h"
#include "plain_ini.h"

namespace tsly {
namespace {

FuzzApp& App() {
  static FuzzApp app;
  return app;
}

void Install(std::string_view line) {
  for (const std::string& module : Split(std::string(line), ";")) {
    const std::size_t equals = std::min(module.find('='), module.size());
    const std::string version = module.substr(std::min(equals + 1, module.size()));
    App().program.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey,
                                             "Version: " + module.substr(0, equals), version);
  }
}

std::string Installed(const std::string& module) {
  MRegistry& registry = App().program.registry;
  return registry.TextOf(registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, "Version: " + module,
                                                    std::string("0.0.0.0")));
}

void Search(const std::string& document) {
  FuzzApp& app = App();
  app.transfer.answers = {Received(document)};
  app.toolkit.answers = {kAnswerOk};
  frmVerify& dialog = app.program.dialog;
  dialog.controls.picStep100.SetVisible(true);
  dialog.controls.picStep200.SetVisible(false);
  const UiEvent click{.kind = UiEvent::Kind::Click, .control = dialog.controls.lblInfo105.Id(), .value = 0};
  app.loop.Post([&] { dialog.Deliver(click, dialog.LoadNumber()); });
  app.loop.RunFor(std::chrono::milliseconds(0));
  HOLDS(app.transfer.answers.empty());
  HOLDS(dialog.UnhandledErrors().empty());
}

std::vector<std::string> ExpectedNames(const PlainIni& file) {
  std::vector<std::string> names(1);
  for (const std::string& name : file.Keys(kSectionVersions)) {
    const std::string offered = file.Value(kSectionVersions, Trim(name)).value_or("0.0.0.0");
    if (IsNewerVersion(Installed(Trim(name)), offered)) names.push_back(name);
  }
  ApplyExcludes(names, [&](const std::string& module) { return file.Value(kSectionExcludes, module).value_or(""); });
  return names;
}

void LookAtItem(const AvailableUpdate& item, const std::string& name, const PlainIni& file, bool is_last) {
  const auto text = [&](const char* key) {
    return Trim(file.Value(std::string(kSectionLocalization) + "English", name + key).value_or(""));
  };
  const auto value = [&](const std::string& key, const char* otherwise) {
    return file.Value(name, key).value_or(otherwise);
  };
  HOLDS(item.UpdateElementName == name);
  HOLDS(item.Item() == text(":Description") && item.Explanation() == text(":Summary"));
  HOLDS(item.UpdateElementDesc == text(":More info"));
  HOLDS(item.UpdateElementVersion == file.Value(kSectionVersions, name));
  HOLDS(item.UpdateElementDocType == (LowerCase(value(kKeyInstallPack, "no")) == "no" ? 3 : 4));
  HOLDS(item.UpdateElementUrl == value(kKeyDownloadUrl, "") && item.UpdateElementSize == value(kKeySize, "0"));
  HOLDS(item.UpdateElementCRC == value(kKeyCrc32, ""));
  HOLDS(item.UpdateElementStopPgm == (LowerCase(Trim(value(kKeyStopApplication, "no"))) != "no"));
  std::int32_t n = 1;
  for (; !value(kKeyAction + std::to_string(n), "").empty(); ++n) {
    HOLDS(item.UpdateElementAction(n) == value(kKeyAction + std::to_string(n), ""));
  }
  HOLDS(item.UpdateElementAction(n).empty() && item.UpdateElementAction(n + 1).empty());
  HOLDS(item.Visible() && item.Height() > 0 && item.HideBottomLine() == is_last);
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  FuzzApp& app = App();
  app.Reset();
  Install(input.Line());
  const std::string document(input.Rest());
  Search(document);

  frmVerify& dialog = app.program.dialog;
  HOLDS(app.files.contents[dialog.UpdatesIniFile] == document);
  const PlainIni file(document);
  const std::vector<std::string> names = ExpectedNames(file);
  HOLDS(dialog.UpdateNames == names);
  HOLDS(app.toolkit.messages.size() == (names.size() > 1 ? 0 : 1));
  HOLDS(dialog.controls.picStep200.Visible() == (names.size() > 1));
  for (std::size_t i = 1; i < names.size(); ++i) {
    LookAtItem(dialog.controls.UpdateItem(static_cast<int>(i)), names[i], file, i + 1 == names.size());
  }
}

}  // namespace tsly
