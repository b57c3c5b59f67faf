// The states of the dialog: load, the check panel, the buttons, unload.
#include <cmath>

#include "base/date_time.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "localization/MLocalizationText.h"
#include "ports/locale.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"
#include "services/MTempFiles.h"

namespace tsly {
namespace {

constexpr std::int32_t kSilentCheckDelay = 15000;  // ms
constexpr std::int32_t kDotInterval = 1000;        // ms

bool IsFrequency(std::int32_t number) { return number >= 0 && number <= 3; }

// Rounding can make a whole minute slightly too small.
double WholeMinutes(DateTime when) { return std::trunc(when * kMinutesPerDay + 1e-6); }

}  // namespace

void frmVerify::Form_Load() {
  LocalizeDialog();
  const RegData every = needs_.registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueCheckedEvery,
                                                          kDefaultFrequency);
  frequency_is_known_ = needs_.registry.WasCertain();
  const double stored = LeadingDouble(needs_.registry.TextOf(every));
  const std::int32_t frequency = stored >= 0 && stored <= 3 ? static_cast<std::int32_t>(stored) : kDefaultFrequency;
  ShowFrequency(frequency);

  const RegData on = needs_.registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueCheckedOn, 0);
  const DateTime last_check = MRegistry::NumberOf(on).value_or(0) / kMinutesPerDay;
  const auto text = last_check != 0 ? LastCheckText(last_check) : ResString(text_key::kLastCheckNever);
  controls.lblInfo104.SetText(text.value_or(""));
}

void frmVerify::ShowFrequency(std::int32_t frequency) {
  const auto index = static_cast<std::size_t>(frequency);
  if (index < FrequencyTexts.size()) controls.lblInfo103.SetText(FrequencyTexts[index]);
  controls.lblInfo103.SetTag(std::to_string(frequency));
}

std::optional<std::string> frmVerify::LastCheckText(DateTime when) {
  const std::string date_separator = needs_.locale.DateSeparator();
  auto text = ResString(text_key::kLastCheckDone);
  if (!text) return text;
  text = Replace(*text, "[MM/DD/YYYY]", MonthDayYear(when, date_separator));
  text = Replace(*text, "[DD/MM/YYYY]", DayMonthYear(when, date_separator));
  return Replace(*text, "[HH:MM]", HourMinute(when, needs_.locale.TimeSeparator()));
}

void frmVerify::DisplayWindow() { BringUp(Keyboard::kTake); }

void frmVerify::BringUp(Keyboard keyboard) {
  Show(keyboard);
  if (needs_.global.StartMode() != 0) needs_.toolkit.PlaceTopmost(*this);
}

void frmVerify::PrepareVerifyVersion() {
  tmrVerifyVersion.SetInterval(kSilentCheckDelay);
  tmrVerifyVersion.SetEnabled(true);
}

// Starts one search. During a search, an offer or an installation the tick waits for the next interval, because a
// search would clear the list that they use.
void frmVerify::tmrVerifyVersion_Timer() {
  if (search_ != nullptr || controls.picStep200.Visible()) return;
  tmrVerifyVersion.SetEnabled(false);
  CheckForUpdates(false);
}

void frmVerify::ShowTheResults() { lblInfo_Click(105); }

void frmVerify::lblInfo_Click(int Index) {
  if (Index == 103) {
    const auto number = ToInt32(controls.lblInfo103.Tag());
    const std::int32_t frequency = number && IsFrequency(*number) ? (*number + 1) % 4 : kDefaultFrequency;
    frequency_is_known_ = true;
    ShowFrequency(frequency);
  } else if (Index == 105) {
    if (controls.lblInfo105.MousePointer() == kPointerCustom) CheckForUpdates(true);
  }
}

void frmVerify::cmdOK_Click() { Unload(); }

void frmVerify::cmdLater_Click() {
  CheckedOn = 0;
  ReportStatus(StatusIdle);
  Unload();
}

void frmVerify::cmdClose_Click() {
  ReportStatus(StatusIdle);
  Unload();
}

void frmVerify::ReportStatus(std::int32_t status) {
  // The copy keeps the object alive if its report makes someone release it.
  if (const auto receiver = UpdaterObject) receiver->SetStatus(status);
}

void frmVerify::Form_QueryUnload(bool& Cancel, std::int32_t UnloadMode) {
  if (!controls.picStep200.Visible()) return;
  if (!controls.cmdLater.Enabled()) {
    Cancel = true;
  } else if (UnloadMode != kUnloadByProgram) {
    cmdLater_Click();
    Cancel = true;
  }
}

void frmVerify::Form_Unload() {
  needs_.temp_files.DeleteTempFiles();
  // The user didn't choose the default after a failed read: don't store it.
  if (frequency_is_known_) {
    needs_.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueCheckedEvery,
                                      ToInt32(controls.lblInfo103.Tag()).value_or(kDefaultFrequency));
  }
  if (CheckedOn > 0) {
    needs_.registry.SetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, kValueCheckedOn,
                                      WholeMinutes(CheckedOn));
  }
}

void frmVerify::StartPrintDots() {
  tmrPrintDots.SetInterval(kDotInterval);
  tmrPrintDots.SetEnabled(true);
}

void frmVerify::tmrPrintDots_Timer() { ProcessFeedback(fbPrintDot); }

}  // namespace tsly
