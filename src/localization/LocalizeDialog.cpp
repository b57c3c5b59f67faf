#include "controls/layout.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"

namespace tsly {
std::optional<std::string> frmVerify::ResString(const ResourceKey& key) {
  return needs_.localization.FindResString(key);
}

std::int32_t frmVerify::ShowResMessage(const ResourceKey& key, std::int32_t buttons) {
  const auto text = ResString(key);
  return text ? needs_.global.ShowMessage(*text, buttons) : 0;
}

// All of them, or none.
void frmVerify::TakeTexts(std::vector<std::string>& texts, std::initializer_list<ResourceKey> keys) {
  std::vector<std::string> found;
  for (const ResourceKey& key : keys) {
    const auto text = ResString(key);
    if (!text) return;
    found.push_back(*text);
  }
  texts = std::move(found);
}

// Every text is a separate step: if no file has the key, the control keeps the text of its design.
void frmVerify::LocalizeDialog() {
  const Control& panel = controls.picStep100;
  Move({Outer().left, Outer().top, panel.Width() + Outer().width - InnerWidth(),
        panel.Height() + Outer().height - InnerHeight()});
  if (!needs_.localization.InitLocalization()) {
    needs_.global.StartupFailed = true;
    return;
  }
  needs_.localization.ApplyDialogFonts(*this);
  for (Control* step : controls.AllPicStep()) step->SetBorderStyle(0);
  for (Label* label : controls.AllLblInfo()) label->SetBorderStyle(0);

  const auto set_text = [this](Control& control, const ResourceKey& key) {
    if (const auto text = ResString(key)) control.SetText(*text);
  };
  if (const auto text = ResString(text_key::kWindowCaption)) SetCaption(*text);
  set_text(controls.lblInfo100, text_key::kTitle);
  set_text(controls.lblInfo101, text_key::kMainCaption);
  set_text(controls.lblInfo102, text_key::kCheckCaption);
  controls.lblInfo103.SetLeft(controls.lblInfo102.Left() + controls.lblInfo102.Width() +
                              kTextGapPixels * toolkit_.Metrics().twips_per_pixel_x);
  TakeTexts(FrequencyTexts, {text_key::kFrequencyNever, text_key::kFrequencyAlways, text_key::kFrequencyWeekly,
                             text_key::kFrequencyMonthly});
  if (FrequencyTexts.size() > 2) controls.lblInfo103.SetText(FrequencyTexts[2]);
  TakeTexts(CheckLinkTexts, {text_key::kCheckNow, text_key::kStatusResolvingHost, text_key::kStatusHostResolved,
                             text_key::kStatusConnecting, text_key::kStatusConnected, text_key::kStatusRequesting,
                             text_key::kStatusRequested, text_key::kStatusReceiving});
  if (!CheckLinkTexts.empty()) controls.lblInfo105.SetText(CheckLinkTexts[0]);
  set_text(controls.cmdOK, text_key::kOk);
  set_text(controls.lblInfo200, text_key::kTitle);
  set_text(controls.lblInfo201, text_key::kPendingUpdates1);
  set_text(controls.cmdLater, text_key::kInstallLater);
  set_text(controls.cmdInstall, text_key::kInstallNow);
  set_text(controls.cmdClose, text_key::kClose);
  controls.txtFocus.Move({0, -1000, controls.txtFocus.Width(), controls.txtFocus.Height()});
}

}  // namespace tsly
