// The transcript of an installation: its feedback states, and the lines of one run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tsly {

enum fbState : std::int32_t {
  fbBegin = 0,
  fbDownload = 1,
  fbDownloadFailed = 2,
  fbPrintDot = 3,
  fbVerifying = 4,
  fbVerifyResult = 5,
  fbVerifyFailure = 6,
  fbUnzipping = 7,
  fbUnzipFailed = 8,
  fbExecuting = 9,
  fbExecuteFailed = 10,
  fbUnregistering = 11,
  fbUnregisterFailed = 12,
  fbRegistering = 13,
  fbRegisterFailed = 14,
  fbInstalled = 15,
  fbFinished = 16,
};

// The dots after the line of a state.
enum class Dots { None, Start, Enable };

// The steps of a state that adds a line, in the order of the members; composing, committing and showing are common to
// all. Settling removes dots and blank from the previous line.
struct FeedbackSteps {
  std::int32_t state;
  bool timer_off, log, settle, blank;
  Dots dots;
};

// The row of a state; null if the state adds no line.
const FeedbackSteps* StepsOf(std::int32_t state);

struct TranscriptRun {
  std::vector<std::string> ProcessLines;
  std::string LastProcessLine;  // the last line without dots and trailing blank

  // The whole text. Line throws error 9 for an invalid index.
  std::string Text() const;
  std::string& Line(std::size_t index);
};

}  // namespace tsly
