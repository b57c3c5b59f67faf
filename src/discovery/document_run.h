// The state of one download. The next download replaces it; late states of an old one still write to it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ports/clock.h"

namespace tsly {

class OpenFile;

// What GetDocument downloads, and what UpdateElementDocType holds.
enum DocumentKind : std::uint8_t { kUpdatesFile = 1, kDataFile = 3, kInstallationPack = 4 };

struct DocumentRun {
  std::uint8_t DocumentReceived = 0;  // 0 nothing yet, 1 received, 2 failed
  std::uint8_t DocumentKind = 0;
  std::string DocumentFile;
  std::shared_ptr<OpenFile> file;  // the document as stored, whatever DocumentFile names later; null: none
  bool ShowStatus = false;
  bool DocumentIsBinary = false;
  SteadyTime DocumentDeadline{};  // extended by every state of the transfer
  std::string DocumentError;      // for the message box; empty until an error state arrives
  bool PackDataWritten = false;
  bool cut_off = false;  // the response couldn't be read completely: only a part is stored
};

}  // namespace tsly
