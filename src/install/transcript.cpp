#include "install/transcript.h"

#include "base/runtime_error.h"

namespace tsly {
namespace {

// State, timer off, log, settle, blank, dots.
constexpr FeedbackSteps kSteps[] = {
    {fbDownload,         false, false, false, true,  Dots::Start },
    {fbDownloadFailed,   true,  true,  true,  false, Dots::None  },
    {fbVerifying,        true,  true,  true,  true,  Dots::Start },
    {fbVerifyFailure,    true,  true,  true,  false, Dots::None  },
    {fbUnzipping,        true,  true,  true,  false, Dots::Enable},
    {fbUnzipFailed,      true,  true,  true,  false, Dots::None  },
    {fbExecuting,        true,  true,  true,  false, Dots::Start },
    {fbExecuteFailed,    true,  true,  true,  false, Dots::None  },
    {fbUnregistering,    true,  true,  true,  false, Dots::Start },
    {fbUnregisterFailed, true,  true,  true,  false, Dots::None  },
    {fbRegistering,      true,  true,  true,  false, Dots::Start },
    {fbRegisterFailed,   true,  true,  true,  false, Dots::None  },
    {fbInstalled,        true,  true,  true,  false, Dots::None  },
    {fbFinished,         true,  true,  true,  false, Dots::None  },
};

}  // namespace

const FeedbackSteps* StepsOf(std::int32_t state) {
  for (const FeedbackSteps& row : kSteps) {
    if (row.state == state) return &row;
  }
  return nullptr;
}

std::string TranscriptRun::Text() const {
  std::string text;
  for (const std::string& line : ProcessLines) {
    if (&line != &ProcessLines.front()) text += "\r\n";
    text += line;
  }
  return text;
}

std::string& TranscriptRun::Line(std::size_t index) {
  if (index >= ProcessLines.size()) throw RuntimeError{kErrorSubscript, "ProcessLines", "Subscript out of range"};
  return ProcessLines[index];
}

}  // namespace tsly
