// Downloads one document: starts the transfer and waits for its end.
#include <chrono>
#include <memory>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "discovery/updates_file.h"
#include "localization/MLocalizationText.h"
#include "ports/clock.h"
#include "ports/event_loop.h"
#include "ports/files.h"
#include "ports/shell.h"
#include "ports/transfer.h"
#include "services/MTempFiles.h"

namespace tsly {
namespace {

constexpr std::chrono::seconds kInactivityLimit{15};
constexpr std::int32_t kRequestTimeout = 60;  // seconds
constexpr std::int32_t kChunkSize = 1024;

// The log lines of the transfer's states; null: none.
constexpr const char* kStateLines[] = {
    "StateChanged: State = None",
    "StateChanged: State = Resolving host",
    "StateChanged: State = Host resolved",
    "StateChanged: State = Connecting",
    "StateChanged: State = Connected",
    "StateChanged: State = Requesting",
    "StateChanged: State = Request sent",
    nullptr,
    nullptr,
    "StateChanged: State = Disconnecting",
    "StateChanged: State = Disconnected",
    nullptr,  // logged with the error itself
    "StateChanged: State = Response completed",
};

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('\\') + 1); }

const char* Word(bool truth) { return truth ? "True" : "False"; }

}  // namespace

bool frmVerify::GetDocument(std::uint8_t DocumentKind, const std::string& URL, std::string Filename,
                            const std::string& Extension, bool ShowStatus, bool DocumentIsBinary) {
  if (Filename.empty()) Filename = FilenameOfUrl(URL);
  const SameLoad load(*this);
  const auto run = document_ = std::make_shared<DocumentRun>();
  document_->ShowStatus = ShowStatus;
  document_->DocumentKind = DocumentKind;
  document_->DocumentFile = needs_.temp_files.GetTempFile(Filename, Filename.empty() ? Extension : "");
  document_->DocumentIsBinary = DocumentIsBinary;
  document_->DocumentDeadline = needs_.clock.Steady() + kInactivityLimit;

  const std::string address = Trim(URL);
  needs_.netCommand.SetRequestTimeout(kRequestTimeout);
  needs_.netCommand.SetSpoolFolder(FolderOf(document_->DocumentFile));
  needs_.global.WriteLog(1, "GetDocument: Starting download: GET " + address);
  needs_.netCommand.SetProtocol(icHTTP);
  if (const Fault fault = needs_.netCommand.Execute(address, "GET")) {
    needs_.global.WriteLog(1, "GetDocument: Error " + Hex(fault.number) + ": " + fault.description);
  } else {
    WaitForDocument(load, run);
  }
  // The dialog was unloaded, or another search has taken over the transfer: nothing to report.
  if (!load || document_ != run) return false;

  needs_.global.WriteLog(
      1, "GetDocument: Exiting wait loop, DocumentReceived=" + std::to_string(document_->DocumentReceived) +
             ", DocumentTimeout=" + Word(DocumentTimedOut()));
  if (document_->DocumentReceived == 2) {
    ReportDocumentFailure();
    if (!load || document_ != run) return false;
  }
  const bool received = document_->DocumentReceived == 1;
  needs_.global.WriteLog(1, std::string("GetDocument: Exiting, returning ") + Word(received));
  return received;
}

void frmVerify::WaitForDocument(const SameLoad& load, const std::shared_ptr<DocumentRun>& run) {
  while (load && document_ == run && run->DocumentReceived == 0 && !DocumentTimedOut()) {
    needs_.loop.Wait(document_->DocumentDeadline);
  }
}

bool frmVerify::DocumentTimedOut() const { return document_->DocumentDeadline < needs_.clock.Steady(); }

void frmVerify::ReportDocumentFailure() {
  if (document_->DocumentKind == kInstallationPack && document_->PackDataWritten) {
    if (ShowResMessage(text_key::kCommunicationErrorPackage, kButtonsYesNo + kIconStop) != kAnswerYes) return;
    needs_.shell.OpenAddress(kHomePage);
    needs_.shell.EndProcess();
  } else {
    needs_.global.ShowMessage(document_->DocumentError, kIconWarning);
  }
}

void frmVerify::netCommand_StateChanged(std::int16_t State) {
  document_->DocumentDeadline = needs_.clock.Steady() + kInactivityLimit;
  if (State >= icNone && State <= icResponseCompleted) {
    if (const char* line = kStateLines[State]) needs_.global.WriteLog(1, line);
  }
  if (State >= icResolvingHost && State <= icReceivingResponse) ShowTransferState(State);
  if (State == icError) TakeTransferError();
  if (State == icResponseCompleted) SaveDocument();
}

void frmVerify::ShowTransferState(std::int16_t State) {
  if (!controls.picStep100.Visible() || !document_->ShowStatus) return;
  // The search may have timed out and ended, before its transfer does.
  if (controls.lblInfo105.MousePointer() != kPointerHourglass) return;
  const auto index = static_cast<std::size_t>(State);
  if (index < CheckLinkTexts.size()) controls.lblInfo105.SetText(CheckLinkTexts[index]);
  needs_.loop.ProcessPendingEvents();
}

void frmVerify::SaveDocument() {
  const std::string file_name = document_->DocumentFile;
  if (needs_.global.FileExists(file_name)) needs_.files.Delete(file_name);
  needs_.global.WriteLog(1, "StateChanged: Opening temp file \"" + file_name + "\"");
  // A file that can't be created or written completely is no failure here: then there is no file, and its reader
  // reports that.
  std::unique_ptr<NewFile> file;
  needs_.files.Create(file_name, file);
  const bool binary = document_->DocumentIsBinary;
  needs_.global.WriteLog(1, binary ? "StateChanged: Writing binary file" : "StateChanged: Writing text file");
  std::string chunk;
  for (;;) {
    const auto type = binary ? ChunkType::icByteArray : ChunkType::icString;
    document_->cut_off = static_cast<bool>(needs_.netCommand.GetChunk(kChunkSize, type, chunk));
    if (document_->cut_off || chunk.empty()) break;
    if (file) file->Write(chunk);
    if (binary) document_->PackDataWritten = true;
  }
  needs_.global.WriteLog(1, "StateChanged: Closing file");
  if (file) file->Commit(document_->file);
  if (document_->DocumentReceived == 0) document_->DocumentReceived = 1;
  needs_.global.WriteLog(1, "DocumentReceived = " + std::to_string(document_->DocumentReceived));
}

void frmVerify::TakeTransferError() {
  const std::int32_t number = needs_.netCommand.ResponseCode();
  const std::string code = std::to_string(number);
  const std::string description = needs_.netCommand.ResponseInfo();
  needs_.global.WriteLog(1, "StateChanged: Error [" + code + "] " + description);
  if (document_->DocumentReceived == 0) document_->DocumentReceived = 2;
  needs_.netCommand.Cancel();
  needs_.global.WriteLog(1, "DocumentReceived = " + std::to_string(document_->DocumentReceived));

  const bool data = document_->DocumentKind == kDataFile || document_->DocumentKind == kInstallationPack;
  const auto type = ResString(data ? text_key::kCommunicationErrorDataFile : text_key::kCommunicationErrorVersions);
  std::string text = Replace(ResString(text_key::kCommunicationError).value_or(""), "[TYPE]", type.value_or(""));
  text = Replace(text, "[NUMBER]", "1/" + code);
  text = Replace(text, "[DESCRIPTION]", description);
  // Without a connection to the name service there is no message: the document counts as received and empty, even if a
  // former run left a file of that name.
  if (document_->DocumentReceived == 2 && number == kNameNotResolved) {
    document_->DocumentReceived = 1;
    needs_.files.Delete(document_->DocumentFile);
  }
  document_->DocumentError = text;
}

}  // namespace tsly
