// Keys and names of the program's settings in the registry.
#pragma once

namespace tsly {

inline constexpr const char* SettingsKey = "SOFTWARE\\Quillon Systems\\Tessaly Studio\\7.0";
inline constexpr const char* VersionSubkey = "Version";

// In SettingsKey.
inline constexpr const char* kValueLanguage = "Language";
inline constexpr const char* kValueDefaultLanguage = "Default language";
inline constexpr const char* kValueSkin = "Skin";

// In its subkey VersionSubkey.
inline constexpr const char* kValueCheckedEvery = "Updates checked every";  // 0 never, 1 always, 2 weekly, 3 monthly
inline constexpr const char* kValueCheckedOn = "Updates checked on";        // whole minutes since 1899-12-30; 0 = never
inline constexpr const char* kValueVersionFileUrl = "Version file URL";
inline constexpr const char* kValueModuleVersion = "Version: [MODULE]";

inline constexpr int kDefaultFrequency = 3;
inline constexpr double kMinutesPerDay = 1440.0;  // of "Updates checked on"

}  // namespace tsly
