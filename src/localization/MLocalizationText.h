// The resource keys that the program reads: section number, colon, key name. Placeholders that the caller fills stand
// behind each.
#pragma once

namespace tsly::text_key {

inline constexpr const char* kCharset = "00:Charset";
inline constexpr const char* kDefaultSkin = "00:Default skin";
inline constexpr const char* kResourceMissing = "00:Resource missing";  // [RESOURCE_NUMBER] [RESOURCE_SECTION]

inline constexpr const char* kOk = "01:OK";
inline constexpr const char* kClose = "01:Close";

inline constexpr const char* kSkinNotFound = "02:Skin not found";        // [SKIN_NAME]
inline constexpr const char* kSkinInvalid = "02:Skin invalid";           // [SKIN_NAME]
inline constexpr const char* kAllSkinsInvalid = "02:All skins invalid";  // [SKIN_NAME]

// The dialog's own texts.
inline constexpr const char* kWindowCaption = "49:Window caption";
inline constexpr const char* kTitle = "49:Title";
inline constexpr const char* kMainCaption = "49:Main Caption";
inline constexpr const char* kCheckCaption = "49:Check Caption";
inline constexpr const char* kCheckNow = "49:Check Now";
inline constexpr const char* kFrequencyNever = "49:Check frequency never";
inline constexpr const char* kFrequencyAlways = "49:Check frequency always";
inline constexpr const char* kFrequencyWeekly = "49:Check frequency weekly";
inline constexpr const char* kFrequencyMonthly = "49:Check frequency monthly";
inline constexpr const char* kLastCheckDone = "49:Last check, done";  // [MM/DD/YYYY] [DD/MM/YYYY] [HH:MM]
inline constexpr const char* kLastCheckNever = "49:Last check, never";
inline constexpr const char* kInstallLater = "49:Install later";
inline constexpr const char* kInstallNow = "49:Install now";
inline constexpr const char* kPendingUpdates1 = "49:Pending updates 1";
inline constexpr const char* kPendingUpdates2 = "49:Pending updates 2";

// The states of a transfer, on the link that started it.
inline constexpr const char* kStatusResolvingHost = "49:Status, resolving host";
inline constexpr const char* kStatusHostResolved = "49:Status, host resolved";
inline constexpr const char* kStatusConnecting = "49:Status, connecting";
inline constexpr const char* kStatusConnected = "49:Status, connected";
inline constexpr const char* kStatusRequesting = "49:Status, requesting";
inline constexpr const char* kStatusRequested = "49:Status, requested";
inline constexpr const char* kStatusReceiving = "49:Status, receiving";

// Outcomes of a search.
inline constexpr const char* kNoUpdateAvailable = "49:No update available";
inline constexpr const char* kCommunicationError =  // [TYPE] [NUMBER] [DESCRIPTION]
    "49:Communication error, common message";
inline constexpr const char* kCommunicationErrorDataFile = "49:Communication error, data file";
inline constexpr const char* kCommunicationErrorVersions = "49:Communication error, versions";
inline constexpr const char* kCommunicationErrorPackage = "49:Communication error, installation package";

// The list of updates.
inline constexpr const char* kDefaultVersion = "49:Default version";
inline constexpr const char* kDefaultReleaseDate = "49:Default release date";
inline constexpr const char* kVersionInformation = "49:Version information";  // [VERSION] [RELEASED]
inline constexpr const char* kClickForMoreInfo = "49:Click for more info";

// The run of an installation.
inline constexpr const char* kWillBeStopped = "49:Tessaly will be stopped";
inline constexpr const char* kCantBeStopped = "49:Tessaly cant be stopped";
inline constexpr const char* kMustBeStopped = "49:Tessaly must be stopped";
inline constexpr const char* kFinishedSuccess = "49:Update finished, success";  // [N-SUCCESS] [N-FAILED]
inline constexpr const char* kFinishedFailed = "49:Update finished, failed";    // [N-SUCCESS] [N-FAILED]
inline constexpr const char* kFinishedMixed = "49:Update finished, mixed";      // [N-SUCCESS] [N-FAILED]
inline constexpr const char* kUpdateBegins = "49:Update begins";
inline constexpr const char* kUpdateDownload = "49:Update download";  // [NAME] [SIZE-VALUE] [SIZE-UNIT]
inline constexpr const char* kUpdateDownloadFailed = "49:Update download failed";
inline constexpr const char* kUpdateSizeBytes = "49:Update size bytes";
inline constexpr const char* kUpdateSizeKB = "49:Update size KB";
inline constexpr const char* kUpdateSizeMB = "49:Update size MB";
inline constexpr const char* kUpdateSizeGB = "49:Update size GB";
inline constexpr const char* kUpdateVerifying = "49:Update verifying";
inline constexpr const char* kVerificationPassed = "49:Update verification passed";
inline constexpr const char* kVerificationFailed = "49:Update verification failed";
inline constexpr const char* kVerificationFailure = "49:Update verification failure";
inline constexpr const char* kUpdateUnzipping = "49:Update unzipping";
inline constexpr const char* kUpdateUnzipFailed = "49:Update unzip failed";                   // [ERROR]
inline constexpr const char* kUpdateUnzipInvalidMessage = "49:Update unzip invalid message";  // [ERROR]
inline constexpr const char* kUpdateInvalidFolder = "49:Update invalid folder";               // [FOLDER]
inline constexpr const char* kUpdateExecuting = "49:Update executing pgm";
inline constexpr const char* kUpdateExecutionFailed = "49:Update execution failed";  // [ERROR]
inline constexpr const char* kUpdateExecutionError =  // [FILENAME] [ERROR-NUMBER] [ERROR-TEXT]
    "49:Update execution error";
inline constexpr const char* kUpdateUnregistering = "49:Update unregistering";
inline constexpr const char* kUpdateUnregistrationFailed = "49:Update unregistration failed";  // [ERROR]
inline constexpr const char* kUpdateUnregistrationError =  // [FILENAME] [ERROR-NUMBER] [ERROR-TEXT]
    "49:Update unregistration error";
inline constexpr const char* kUpdateRegistering = "49:Update registering";
inline constexpr const char* kUpdateRegistrationFailed = "49:Update registration failed";  // [ERROR]
inline constexpr const char* kUpdateRegistrationError =  // [FILENAME] [ERROR-NUMBER] [ERROR-TEXT]
    "49:Update registration error";
inline constexpr const char* kUpdateInstalled = "49:Update installed";

}  // namespace tsly::text_key
