// The state of one fetch of a document. A new fetch replaces it; late states of an old one still write to it.
#pragma once

#include <cstdint>
#include <string>

#include "ports/clock.h"

namespace tsly {

struct DocumentRun {
  std::uint64_t number = 0;           // counts the fetches of the process
  std::uint8_t DocumentReceived = 0;  // 0 nothing yet, 1 received, 2 failed
  std::uint8_t DocumentKind = 0;
  std::string DocumentFile;
  bool ShowStatus = false;
  bool DocumentIsBinary = false;
  SteadyTime DocumentDeadline{};  // moved ahead by every state of the transfer
  std::string DocumentError;      // for the message box; empty until an error state arrives
  bool PackDataWritten = false;
};

}  // namespace tsly
