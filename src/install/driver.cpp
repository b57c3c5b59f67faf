// Installs all available updates.
#include "base/step.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "install/cCRC32.h"
#include "localization/MLocalizationText.h"
#include "ports/clock.h"
#include "ports/files.h"
#include "ports/shell.h"
#include "ports/system_codes.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

constexpr std::size_t kChecksumDigits = 8;

// The last eight digits in upper case, with leading zeros.
std::string ChecksumText(const std::string& digits) {
  const std::string padded = std::string(kChecksumDigits, '0') + digits;
  std::string text = padded.substr(padded.size() - kChecksumDigits);
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

}  // namespace

void frmVerify::cmdInstall_Click() {
  const SameLoad load(*this);
  if (!PrepareHostProduct() || !load) return;
  controls.cmdLater.SetEnabled(false);
  controls.cmdInstall.SetEnabled(false);
  std::int32_t failed = 0;
  std::int32_t succeeded = 0;
  ProcessFeedback(fbBegin, {""});
  controls.txtProcessing.SetVisible(true);
  controls.picUpdates.SetVisible(false);
  for (std::int32_t i = 1; i <= UpdateCount(); ++i) {
    bool installed = false;
    Step([&] { installed = InstallUpdate(i); });
    if (!load) return;
    ++(installed ? succeeded : failed);
  }
  if (UpdateCount() > 1) CloseRun(succeeded, failed);
  controls.cmdLater.SetVisible(false);
  controls.cmdInstall.SetVisible(false);
  controls.cmdLater.SetEnabled(true);
  controls.cmdInstall.SetEnabled(true);
  controls.cmdClose.SetVisible(true);
}

// Closes the host product if an update requires it. False: the user refused, and the dialog was unloaded.
bool frmVerify::PrepareHostProduct() {
  bool StopNeeded = false;
  for (std::int32_t i = 1; i <= UpdateCount() && !StopNeeded; ++i) {
    Step([&] { StopNeeded = controls.UpdateItem(i).UpdateElementStopPgm; });
  }
  if (!StopNeeded) return true;
  if (!needs_.global.ShowUpdates || needs_.global.HostWindow == 0) {
    ShowResMessage(text_key::kMustBeStopped, kIconWarning);
    return true;
  }
  const SameLoad load(*this);
  const std::int32_t answer = ShowResMessage(text_key::kWillBeStopped, kButtonsYesNo + kIconQuestion);
  if (!load) return false;
  if (answer == kAnswerNo) {
    cmdLater_Click();
    return false;
  }
  if (answer != kAnswerYes) return true;  // the question has no text and wasn't shown
  needs_.shell.CloseWindow(needs_.global.HostWindow);
  if (needs_.shell.LastError() == kInvalidWindowHandle) {
    ShowResMessage(text_key::kCantBeStopped, kIconWarning);
  }
  return true;
}

bool frmVerify::InstallUpdate(std::int32_t i) {
  const SameLoad load(*this);
  AvailableUpdate& item = controls.UpdateItem(i);
  ProcessFeedback(fbDownload, {item.UpdateElementName, item.UpdateElementSize});
  if (!GetDocument(item.UpdateElementDocType, item.UpdateElementUrl, "", "zip", true, true)) {
    if (load) ProcessFeedback(fbDownloadFailed);
    return false;
  }
  const std::int32_t size = ToInt32(item.UpdateElementSize).value_or(0);
  const bool good = VerifyDocument(document_->file, size, item.UpdateElementCRC);
  if (!load) return false;
  if (!good) {
    ProcessFeedback(fbVerifyFailure);
    return false;
  }
  bool applied = false;
  const auto fault = Step([&] { applied = ApplyUpdateActions(item); });
  if (!load) return false;
  if (fault) {
    // The action line has no message for this; its failed state reports the fault and ends its dots.
    const bool unzip = action_.failed_state == fbUnzipFailed;
    ProcessFeedback(
        action_.failed_state,
        unzip ? std::vector<std::string>{"unzip", fault->description}
              : std::vector<std::string>{"launch", action_.path, std::to_string(fault->number), fault->description});
  }
  if (!applied) return false;
  ProcessFeedback(fbInstalled);
  needs_.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey,
                                    Replace(kValueModuleVersion, "[MODULE]", UpdateNames[static_cast<std::size_t>(i)]),
                                    item.UpdateElementVersion);
  return true;
}

void frmVerify::CloseRun(std::int32_t succeeded, std::int32_t failed) {
  const ResourceKey& key = failed == 0      ? text_key::kFinishedSuccess
                           : succeeded == 0 ? text_key::kFinishedFailed
                                            : text_key::kFinishedMixed;
  CheckedOn = failed == 0 ? needs_.clock.Now() : 0;
  const std::string text = Replace(ResString(key).value_or(""), "[N-SUCCESS]", std::to_string(succeeded));
  ProcessFeedback(fbFinished, {Replace(text, "[N-FAILED]", std::to_string(failed))});
}

// Verifies the document as stored, not what its name refers to now: the same bytes are unpacked later. By value: events
// in between may start another download.
bool frmVerify::VerifyDocument(std::shared_ptr<OpenFile> File, std::int32_t Size, std::string CRC) {
  const SameLoad load(*this);
  ProcessFeedback(fbVerifying);
  std::int64_t length = 0;
  std::optional<std::int32_t> checksum = 0;
  if (File) {
    checksum = cCRC32(needs_.files, needs_.loop).Crc32Of(*File);
    if (File->Length(length) != 0) checksum.reset();
  }
  const bool good = checksum && ChecksumText(Hex(*checksum)) == ChecksumText(CRC) && length == Size;
  if (load) ProcessFeedback(fbVerifyResult, {good ? "ok" : "fail"});
  return good;
}

}  // namespace tsly
