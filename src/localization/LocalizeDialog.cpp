#include "base/step.h"
#include "controls/layout.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"

namespace tsly {
std::string frmVerify::ResString(const ResourceKey& key) { return needs_.localization.GetResString(key); }

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
    Step([&] { control.SetText(ResString(key)); });
  };
  Step([&] { SetCaption(ResString(text_key::kWindowCaption)); });
  set_text(controls.lblInfo100, text_key::kTitle);
  set_text(controls.lblInfo101, text_key::kMainCaption);
  set_text(controls.lblInfo102, text_key::kCheckCaption);
  controls.lblInfo103.SetLeft(controls.lblInfo102.Left() + controls.lblInfo102.Width() +
                              kTextGapPixels * toolkit_.Metrics().twips_per_pixel_x);
  Step([&] {
    FrequencyTexts = {ResString(text_key::kFrequencyNever), ResString(text_key::kFrequencyAlways),
                      ResString(text_key::kFrequencyWeekly), ResString(text_key::kFrequencyMonthly)};
  });
  if (FrequencyTexts.size() > 2) controls.lblInfo103.SetText(FrequencyTexts[2]);
  Step([&] {
    CheckLinkTexts = {ResString(text_key::kCheckNow),           ResString(text_key::kStatusResolvingHost),
                      ResString(text_key::kStatusHostResolved), ResString(text_key::kStatusConnecting),
                      ResString(text_key::kStatusConnected),    ResString(text_key::kStatusRequesting),
                      ResString(text_key::kStatusRequested),    ResString(text_key::kStatusReceiving)};
  });
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
