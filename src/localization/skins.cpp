#include "base/text.h"
#include "dialog/MGlobal.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"
#include "ports/toolkit.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

std::string WithoutBackslash(std::string name) {
  if (name.ends_with('\\')) name.pop_back();
  return name;
}

}  // namespace

void MLocalization::SettleDefaultSkin() {
  if (const auto name = FindResString(text_key::kDefaultSkin)) DefaultSkin = WithoutBackslash(*name);
  if (!global_.FileExists(ResourcePath("Skin", DefaultSkin))) DefaultSkin = "Default";
}

bool MLocalization::SelectSkin() {
  SkinName.clear();
  SkinFile.clear();
  SkinFolder.clear();
  std::string name = registry_.TextOf(registry_.GetRegValue(kCurrentUser, SettingsKey, kValueSkin, std::string()));
  if (name.empty()) {
    name = registry_.TextOf(registry_.GetRegValue(kLocalMachine, SettingsKey, kValueSkin, DefaultSkin));
  }
  name = WithoutBackslash(name);

  bool usable = true;
  if (!global_.FileExists(ResourcePath("Skin", name))) {
    name = WithoutBackslash(DefaultSkin);
    if (!global_.FileExists(ResourcePath("Skin", name))) {
      ShowSkinMessage(text_key::kSkinNotFound, name, kIconStop);
      usable = false;
    }
  }
  if (TakeSkin(name)) return usable;
  if (TakeSkin(DefaultSkin)) {
    ShowSkinMessage(text_key::kSkinInvalid, name, kIconInformation);
    return usable;
  }
  ShowSkinMessage(text_key::kAllSkinsInvalid, name, kIconStop);
  return false;
}

bool MLocalization::TakeSkin(const std::string& name) {
  const std::string file = ResourcePath("Skin", name);
  std::string language, abbreviation, version, default_skin;
  if (!IsValidResourceFile(file, "Skin", language, abbreviation, version, default_skin)) return false;
  SkinName = name;
  SkinFile = file;
  SkinFolder = file.substr(0, file.rfind('\\'));
  return true;
}

void MLocalization::ShowSkinMessage(const ResourceKey& key, const std::string& skin_name, std::int32_t icon) {
  if (const auto text = FindResString(key)) global_.ShowMessage(Replace(*text, "[SKIN_NAME]", skin_name), icon);
}

}  // namespace tsly
