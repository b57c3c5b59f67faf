// What the program reads from a language file: its signature, its sections, and the resource keys of its texts.
#pragma once

#include <string_view>

namespace tsly {

struct ResourceKey {
  const char* key;                // section number, colon, key name
  const char* placeholders = "";  // filled by the caller, separated by blanks; "?" before one: a text may omit it

  constexpr operator std::string_view() const { return key; }
};

// The description in every language file.
inline constexpr const char* kLanguageSignature = "Tessaly Studio Resources file";

// Those that this program uses, of the 54 in the host product's language files.
inline constexpr const char* kResourceSections = "00:General|01:Miscellaneous|02:Error messages|49:Software updates";

namespace text_key {

inline constexpr ResourceKey kCharset{"00:Charset"};
inline constexpr ResourceKey kDefaultSkin{"00:Default skin"};
inline constexpr ResourceKey kResourceMissing{"00:Resource missing", "[RESOURCE_NUMBER] [RESOURCE_SECTION]"};

inline constexpr ResourceKey kOk{"01:OK"};
inline constexpr ResourceKey kClose{"01:Close"};

inline constexpr ResourceKey kSkinNotFound{"02:Skin not found", "[SKIN_NAME]"};
inline constexpr ResourceKey kSkinInvalid{"02:Skin invalid", "[SKIN_NAME]"};
inline constexpr ResourceKey kAllSkinsInvalid{"02:All skins invalid", "[SKIN_NAME]"};

// The dialog's own texts.
inline constexpr ResourceKey kWindowCaption{"49:Window caption"};
inline constexpr ResourceKey kTitle{"49:Title"};
inline constexpr ResourceKey kMainCaption{"49:Main Caption"};
inline constexpr ResourceKey kCheckCaption{"49:Check Caption"};
inline constexpr ResourceKey kCheckNow{"49:Check Now"};
inline constexpr ResourceKey kFrequencyNever{"49:Check frequency never"};
inline constexpr ResourceKey kFrequencyAlways{"49:Check frequency always"};
inline constexpr ResourceKey kFrequencyWeekly{"49:Check frequency weekly"};
inline constexpr ResourceKey kFrequencyMonthly{"49:Check frequency monthly"};
inline constexpr ResourceKey kLastCheckDone{"49:Last check, done", "?[MM/DD/YYYY] ?[DD/MM/YYYY] ?[HH:MM]"};
inline constexpr ResourceKey kLastCheckNever{"49:Last check, never"};
inline constexpr ResourceKey kInstallLater{"49:Install later"};
inline constexpr ResourceKey kInstallNow{"49:Install now"};
inline constexpr ResourceKey kPendingUpdates1{"49:Pending updates 1"};
inline constexpr ResourceKey kPendingUpdates2{"49:Pending updates 2"};

// The states of a transfer, on the link that started it.
inline constexpr ResourceKey kStatusResolvingHost{"49:Status, resolving host"};
inline constexpr ResourceKey kStatusHostResolved{"49:Status, host resolved"};
inline constexpr ResourceKey kStatusConnecting{"49:Status, connecting"};
inline constexpr ResourceKey kStatusConnected{"49:Status, connected"};
inline constexpr ResourceKey kStatusRequesting{"49:Status, requesting"};
inline constexpr ResourceKey kStatusRequested{"49:Status, requested"};
inline constexpr ResourceKey kStatusReceiving{"49:Status, receiving"};

// Results of a search.
inline constexpr ResourceKey kNoUpdateAvailable{"49:No update available"};
inline constexpr ResourceKey kCommunicationError{"49:Communication error, common message",
                                                 "[TYPE] [NUMBER] [DESCRIPTION]"};
inline constexpr ResourceKey kCommunicationErrorDataFile{"49:Communication error, data file"};
inline constexpr ResourceKey kCommunicationErrorVersions{"49:Communication error, versions"};
inline constexpr ResourceKey kCommunicationErrorPackage{"49:Communication error, installation package"};

// The list of updates.
inline constexpr ResourceKey kDefaultVersion{"49:Default version"};
inline constexpr ResourceKey kDefaultReleaseDate{"49:Default release date"};
inline constexpr ResourceKey kVersionInformation{"49:Version information", "[VERSION] [RELEASED]"};
inline constexpr ResourceKey kClickForMoreInfo{"49:Click for more info"};

// The installation.
inline constexpr ResourceKey kWillBeStopped{"49:Tessaly will be stopped"};
inline constexpr ResourceKey kCantBeStopped{"49:Tessaly cant be stopped"};
inline constexpr ResourceKey kMustBeStopped{"49:Tessaly must be stopped"};
inline constexpr ResourceKey kFinishedSuccess{"49:Update finished, success", "[N-SUCCESS] ?[N-FAILED]"};
inline constexpr ResourceKey kFinishedFailed{"49:Update finished, failed", "?[N-SUCCESS] [N-FAILED]"};
inline constexpr ResourceKey kFinishedMixed{"49:Update finished, mixed", "[N-SUCCESS] [N-FAILED]"};
inline constexpr ResourceKey kUpdateBegins{"49:Update begins"};
inline constexpr ResourceKey kUpdateDownload{"49:Update download", "[NAME] [SIZE-VALUE] [SIZE-UNIT]"};
inline constexpr ResourceKey kUpdateDownloadFailed{"49:Update download failed"};
inline constexpr ResourceKey kUpdateSizeBytes{"49:Update size bytes"};
inline constexpr ResourceKey kUpdateSizeKB{"49:Update size KB"};
inline constexpr ResourceKey kUpdateSizeMB{"49:Update size MB"};
inline constexpr ResourceKey kUpdateSizeGB{"49:Update size GB"};
inline constexpr ResourceKey kUpdateVerifying{"49:Update verifying"};
inline constexpr ResourceKey kVerificationPassed{"49:Update verification passed"};
inline constexpr ResourceKey kVerificationFailed{"49:Update verification failed"};
inline constexpr ResourceKey kVerificationFailure{"49:Update verification failure"};
inline constexpr ResourceKey kUpdateUnzipping{"49:Update unzipping"};
inline constexpr ResourceKey kUpdateUnzipFailed{"49:Update unzip failed", "[ERROR]"};
inline constexpr ResourceKey kUpdateUnzipInvalidMessage{"49:Update unzip invalid message", "[ERROR]"};
inline constexpr ResourceKey kUpdateInvalidFolder{"49:Update invalid folder", "[FOLDER]"};
inline constexpr ResourceKey kUpdateExecuting{"49:Update executing pgm"};
inline constexpr ResourceKey kUpdateExecutionFailed{"49:Update execution failed", "[ERROR]"};
inline constexpr ResourceKey kUpdateExecutionError{"49:Update execution error",
                                                   "[FILENAME] [ERROR-NUMBER] [ERROR-TEXT]"};
inline constexpr ResourceKey kUpdateUnregistering{"49:Update unregistering"};
inline constexpr ResourceKey kUpdateUnregistrationFailed{"49:Update unregistration failed", "[ERROR]"};
inline constexpr ResourceKey kUpdateUnregistrationError{"49:Update unregistration error",
                                                        "[FILENAME] [ERROR-NUMBER] [ERROR-TEXT]"};
inline constexpr ResourceKey kUpdateRegistering{"49:Update registering"};
inline constexpr ResourceKey kUpdateRegistrationFailed{"49:Update registration failed", "[ERROR]"};
inline constexpr ResourceKey kUpdateRegistrationError{"49:Update registration error",
                                                      "[FILENAME] [ERROR-NUMBER] [ERROR-TEXT]"};
inline constexpr ResourceKey kUpdateInstalled{"49:Update installed"};

// All of them.
// clang-format off
inline constexpr const ResourceKey* kAll[] = {
    &kCharset, &kDefaultSkin, &kResourceMissing, &kOk, &kClose, &kSkinNotFound, &kSkinInvalid, &kAllSkinsInvalid,
    &kWindowCaption, &kTitle, &kMainCaption, &kCheckCaption, &kCheckNow, &kFrequencyNever, &kFrequencyAlways,
    &kFrequencyWeekly, &kFrequencyMonthly, &kLastCheckDone, &kLastCheckNever, &kInstallLater, &kInstallNow,
    &kPendingUpdates1, &kPendingUpdates2, &kStatusResolvingHost, &kStatusHostResolved, &kStatusConnecting,
    &kStatusConnected, &kStatusRequesting, &kStatusRequested, &kStatusReceiving, &kNoUpdateAvailable,
    &kCommunicationError, &kCommunicationErrorDataFile, &kCommunicationErrorVersions, &kCommunicationErrorPackage,
    &kDefaultVersion, &kDefaultReleaseDate, &kVersionInformation, &kClickForMoreInfo, &kWillBeStopped,
    &kCantBeStopped, &kMustBeStopped, &kFinishedSuccess, &kFinishedFailed, &kFinishedMixed, &kUpdateBegins,
    &kUpdateDownload, &kUpdateDownloadFailed, &kUpdateSizeBytes, &kUpdateSizeKB, &kUpdateSizeMB, &kUpdateSizeGB,
    &kUpdateVerifying, &kVerificationPassed, &kVerificationFailed, &kVerificationFailure, &kUpdateUnzipping,
    &kUpdateUnzipFailed, &kUpdateUnzipInvalidMessage, &kUpdateInvalidFolder, &kUpdateExecuting,
    &kUpdateExecutionFailed, &kUpdateExecutionError, &kUpdateUnregistering, &kUpdateUnregistrationFailed,
    &kUpdateUnregistrationError, &kUpdateRegistering, &kUpdateRegistrationFailed, &kUpdateRegistrationError,
    &kUpdateInstalled,
};
// clang-format on

}  // namespace text_key
}  // namespace tsly
