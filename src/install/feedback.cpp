// The transcript: what an installation reports to the user and the log.
#include "base/step.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "install/size_text.h"
#include "localization/MLocalizationText.h"

namespace tsly {
namespace {

using Information = std::vector<std::string>;

constexpr ResourceKey kSizeUnits[] = {text_key::kUpdateSizeBytes, text_key::kUpdateSizeKB, text_key::kUpdateSizeMB,
                                      text_key::kUpdateSizeGB};

// The states whose line is an unchanged text.
struct PlainText {
  std::int32_t state;
  ResourceKey key;
};

constexpr PlainText kPlainTexts[] = {
    {fbDownloadFailed, text_key::kUpdateDownloadFailed},
    {fbVerifying,      text_key::kUpdateVerifying     },
    {fbVerifyFailure,  text_key::kVerificationFailure },
    {fbUnzipping,      text_key::kUpdateUnzipping     },
    {fbExecuting,      text_key::kUpdateExecuting     },
    {fbUnregistering,  text_key::kUpdateUnregistering },
    {fbRegistering,    text_key::kUpdateRegistering   },
    {fbInstalled,      text_key::kUpdateInstalled     },
};

// The states that report a failed action: the line, and the inner message for its [ERROR].
struct FailureText {
  std::int32_t state;
  ResourceKey line;
  ResourceKey error;  // for all but a folder
};

constexpr FailureText kFailureTexts[] = {
    {fbUnzipFailed,      text_key::kUpdateUnzipFailed,          text_key::kUpdateUnzipInvalidMessage},
    {fbExecuteFailed,    text_key::kUpdateExecutionFailed,      text_key::kUpdateExecutionError     },
    {fbUnregisterFailed, text_key::kUpdateUnregistrationFailed, text_key::kUpdateUnregistrationError},
    {fbRegisterFailed,   text_key::kUpdateRegistrationFailed,   text_key::kUpdateRegistrationError  },
};

// A missing position leaves its placeholder in the line.
std::string Fill(const std::string& text, const char* placeholder, const Information& information,
                 std::size_t position) {
  return position < information.size() ? Replace(text, placeholder, information[position]) : text;
}

std::string FillError(const std::string& text, std::int32_t state, bool folder, const Information& information) {
  if (folder) return Fill(text, "[FOLDER]", information, 1);
  if (state == fbUnzipFailed) return Fill(text, "[ERROR]", information, 1);
  std::string filled = Fill(text, "[FILENAME]", information, 1);
  filled = Fill(filled, "[ERROR-NUMBER]", information, 2);
  return Fill(filled, "[ERROR-TEXT]", information, 3);
}

}  // namespace

void frmVerify::ProcessFeedback(std::int32_t fbState, const std::vector<std::string>& Information) {
  TextBox& box = controls.txtProcessing;
  if (fbState == fbBegin) {
    BeginTranscript();
  } else if (fbState == fbPrintDot) {
    if (!transcript_.ProcessLines.empty()) transcript_.ProcessLines.back() += ".";
    box.SetText(transcript_.Text());
  } else if (fbState == fbVerifyResult) {
    tmrPrintDots.SetEnabled(false);
    const bool passed = !Information.empty() && Information[0] == "ok";
    const ResourceKey& key = passed ? text_key::kVerificationPassed : text_key::kVerificationFailed;
    transcript_.LastProcessLine += ResString(key).value_or("");
    if (!transcript_.ProcessLines.empty()) transcript_.ProcessLines.back() = transcript_.LastProcessLine;
    needs_.global.WriteLog(1, transcript_.LastProcessLine);
    box.SetText(transcript_.Text());
  } else {
    AddFeedbackLine(fbState, Information);
  }
  box.SetSelection(static_cast<std::int32_t>(box.Text().size()), 0);
  toolkit_.Refresh(*this);
}

void frmVerify::BeginTranscript() {
  const ControlLook& list = controls.picUpdates.Look();
  controls.txtProcessing.Move(list.rect);
  transcript_.ProcessLines.assign(1, "");
  std::string& line = transcript_.ProcessLines[0];
  line = ResString(text_key::kUpdateBegins).value_or("");
  needs_.global.WriteLog(1, line);
  while (line.ends_with("\r\n")) line.resize(line.size() - 2);
  transcript_.LastProcessLine = line;
  controls.txtProcessing.SetText(transcript_.Text());
}

void frmVerify::AddFeedbackLine(std::int32_t fbState, const std::vector<std::string>& Information) {
  const FeedbackSteps* steps = StepsOf(fbState);
  if (steps == nullptr) return;
  if (steps->timer_off) tmrPrintDots.SetEnabled(false);
  auto& lines = transcript_.ProcessLines;
  lines.emplace_back();
  const std::size_t n = lines.size() - 1;
  lines[n] = FeedbackText(fbState, Information).value_or("");
  if (steps->log) needs_.global.WriteLog(1, lines[n]);
  if (steps->settle) Step([&] { transcript_.Line(n - 1) = transcript_.LastProcessLine; });
  transcript_.LastProcessLine = lines[n];
  if (steps->blank) lines[n] += " ";
  controls.txtProcessing.SetText(transcript_.Text());
  if (steps->dots == Dots::Start) StartPrintDots();
  if (steps->dots == Dots::Enable) tmrPrintDots.SetEnabled(true);
}

std::optional<std::string> frmVerify::FeedbackText(std::int32_t fbState, const std::vector<std::string>& Information) {
  for (const PlainText& row : kPlainTexts) {
    if (row.state == fbState) return ResString(row.key);
  }
  for (const FailureText& row : kFailureTexts) {
    if (row.state != fbState) continue;
    const bool folder = !Information.empty() && Information[0] == "folder";
    const auto line = ResString(row.line);
    if (!line) return std::nullopt;
    const auto error = ResString(folder ? text_key::kUpdateInvalidFolder : row.error);
    return Replace(*line, "[ERROR]", error ? FillError(*error, fbState, folder, Information) : "");
  }
  if (fbState == fbFinished) return Information.empty() ? "" : Information[0];

  const auto line = ResString(text_key::kUpdateDownload);
  if (!line) return std::nullopt;
  std::string text = Fill(*line, "[NAME]", Information, 0);
  if (Information.size() < 2) return text;
  const double bytes = ToDouble(Information[1]).value_or(0);
  const SizeText size = FormatSize(bytes);
  const std::string unit = ResString(kSizeUnits[static_cast<std::size_t>(size.unit)]).value_or("");
  text = Replace(text, "[SIZE-VALUE]", size.value);
  return Replace(text, "[SIZE-UNIT]", unit);
}

}  // namespace tsly
