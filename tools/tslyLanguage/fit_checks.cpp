#include "tslyLanguage/fit_checks.h"

#include <algorithm>

#include "base/text.h"
#include "controls/form.h"
#include "controls/layout.h"
#include "dialog/VerifyControls.h"
#include "localization/MLocalizationText.h"
#include "localization/charsets.h"

namespace tsly {
namespace {

// The dialog as designed; it is never shown.
class DesignedDialog final : public Form {
 public:
  explicit DesignedDialog(Toolkit& toolkit) : Form(toolkit), controls(*this) { controls.Reset(); }
  VerifyControls controls;

 private:
  void OnReset() override {}
  void OnLoad() override {}
  void OnQueryUnload(bool&, std::int32_t) override {}
  void OnUnload() override {}
  void OnClick(Control&) override {}
};

class FitCheck {
 public:
  FitCheck(const LanguageFile& file, Toolkit& toolkit) : file_(file), toolkit_(toolkit), dialog_(toolkit) {
    const auto charset = file.Find(text_key::kCharset);
    if (charset) font_ = FontOfCharset(CharsetNamed(LowerCase(Trim(charset->text))).value_or(0));
  }

  std::vector<Finding> Run() {
    using namespace text_key;
    const VerifyControls& c = dialog_.controls;
    Wrapped(kTitle, c.lblInfo100);
    Wrapped(kMainCaption, c.lblInfo101);
    for (const ResourceKey& key : {kLastCheckDone, kLastCheckNever}) Wrapped(key, c.lblInfo104);
    for (const ResourceKey& key : {kPendingUpdates1, kPendingUpdates2}) Wrapped(key, c.lblInfo201);
    OnButton(kOk, c.cmdOK);
    OnButton(kClose, c.cmdClose);
    OnButton(kInstallLater, c.cmdLater);
    OnButton(kInstallNow, c.cmdInstall);
    for (const ResourceKey& key : {kCheckNow, kStatusResolvingHost, kStatusHostResolved, kStatusConnecting,
                                   kStatusConnected, kStatusRequesting, kStatusRequested, kStatusReceiving}) {
      OneLine(key, c.lblInfo105.GetFont(), c.cmdOK.Left() - kTextGap - c.lblInfo105.Left());
    }
    // The frequency follows its lead-in; together they have the width of the main text.
    const Twips lead_in = Measure(kCheckCaption, c.lblInfo102.GetFont()).width;
    for (const ResourceKey& key : {kFrequencyNever, kFrequencyAlways, kFrequencyWeekly, kFrequencyMonthly}) {
      OneLine(key, c.lblInfo103.GetFont(), c.lblInfo101.Width() - kTextGap - lead_in);
    }
    const Font list_font;  // the list's font doesn't depend on the language
    font_.clear();
    for (const ResourceKey& key : {kVersionInformation, kClickForMoreInfo}) OneLine(key, list_font, ItemTextWidth());
    return std::move(findings_);
  }

 private:
  // Of an item's labels next to the list's scroll bar.
  Twips ItemTextWidth() {
    AvailableUpdate& item = dialog_.controls.UpdateItem(0);
    item.SetWidth(dialog_.controls.vscUpdates.Left());
    return item.lblVersion.Width();
  }
  // With the longest replacement for each placeholder.
  std::string Filled(const ResourceKey& key) const {
    const auto text = file_.Find(key);
    if (!text) return "";
    std::string filled = text->text;
    for (const auto& [placeholder, value] : {
             std::pair{"[MM/DD/YYYY]", "08/28/2028"},
             std::pair{"[DD/MM/YYYY]", "28/08/2028"},
             std::pair{"[HH:MM]",      "20:58"     },
             std::pair{"[VERSION]",    "7.0.1600.0"},
             std::pair{"[RELEASED]",   "28/08/2028"}
    }) {
      filled = Replace(filled, placeholder, value);
    }
    return filled;
  }
  Font Adapted(Font font) const {
    if (!font_.empty()) font.name = font_;
    return font;
  }
  TextSize Measure(const ResourceKey& key, const Font& font) const {
    return toolkit_.MeasureText(Filled(key), Adapted(font), std::nullopt);
  }
  void Report(const ResourceKey& key, const std::string& advice) {
    const auto text = file_.Find(key);
    if (text) findings_.push_back({text->line, "the text is too long: " + advice});
  }

  void OneLine(const ResourceKey& key, const Font& font, Twips room) {
    const TextSize size = Measure(key, font);
    if (size.width > room) {
      Report(key, std::to_string(size.width / kTwipsPerPixel) + " pixels wide, available are " +
                      std::to_string(std::max(0, room / kTwipsPerPixel)));
    } else if (size.height > toolkit_.MeasureText("", Adapted(font), std::nullopt).height) {
      Report(key, "several lines, available is one");
    }
  }
  void OnButton(const ResourceKey& key, const Control& button) {
    OneLine(key, button.GetFont(), button.Width() - 2 * kButtonMargin);
  }
  void Wrapped(const ResourceKey& key, const Control& label) {
    const Font font = Adapted(label.GetFont());
    const TextSize size = toolkit_.MeasureText(Filled(key), font, label.Width());
    const Twips line = toolkit_.MeasureText("", font, std::nullopt).height;
    if (size.height <= label.Height()) return;
    Report(key, std::to_string(size.height / line) + " lines of " + std::to_string(label.Width() / kTwipsPerPixel) +
                    " pixels, available are " + std::to_string(label.Height() / line));
  }

  const LanguageFile& file_;
  Toolkit& toolkit_;
  DesignedDialog dialog_;
  std::string font_;  // of the language; "": the control's own
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> CheckFit(const LanguageFile& file, Toolkit& toolkit) { return FitCheck(file, toolkit).Run(); }

}  // namespace tsly
