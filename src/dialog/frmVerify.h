// frmVerify, the program's only dialog, which runs every operation: search, list of updates, installation. This header
// is the table of contents; each group of routines names its source file. Decisions are rules in files of their own
// (discovery/, install/). The state of one operation is in a run object, which the next operation replaces. Everything
// that the user sees is in a control.
//
// One object per process, on its only thread. It outlives its unloads: each load resets the controls to their design,
// the members here keep their values. A routine that processed events compares the form's load number with the one from
// before and returns if the dialog was unloaded meanwhile.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "controls/form.h"
#include "controls/timer.h"
#include "dialog/VerifyControls.h"
#include "dialog/status.h"
#include "discovery/document_run.h"
#include "discovery/search_run.h"
#include "install/action_line.h"
#include "install/transcript.h"

namespace tsly {

class Clock;
class EventLoop;
class Files;
class Locale;
class MGlobal;
class MLocalization;
class MRegistry;
class MTempFiles;
class ProfileReader;
class Shell;
class TransferControl;
class UnzipFactory;
struct ResourceKey;

class frmVerify : public Form {
 public:
  struct Needs {
    MGlobal& global;
    MRegistry& registry;
    MTempFiles& temp_files;
    MLocalization& localization;
    TransferControl& netCommand;
    UnzipFactory& unzip;
    Files& files;
    ProfileReader& profiles;
    Clock& clock;
    Locale& locale;
    Shell& shell;
    Toolkit& toolkit;
    EventLoop& loop;
  };

  explicit frmVerify(const Needs& needs);
  ~frmVerify() override;

  // The object to report to; none in a process without clients. Shared, because the dialog keeps reporting to an object
  // that its client has released.
  std::shared_ptr<StatusReceiver> UpdaterObject;

  // Public routines. The first three: dialog/dialog_flow.cpp.
  void DisplayWindow();         // shows the dialog; for a client, above all other windows
  void PrepareVerifyVersion();  // schedules the background check
  void ShowTheResults();        // runs a check by hand
  void ProcessFeedback(std::int32_t fbState, const std::vector<std::string>& Information = {});  // install/feedback.cpp
  bool IsNewVersion(const std::string& ValueName, const std::string& UpdatesIniFile);            // discovery/search.cpp
  void FillUpdateDataFromIni(std::int32_t Index, bool IsLast);  // discovery/presentation.cpp
  void ShowAvailableUpdates();                                  // discovery/presentation.cpp

  VerifyControls controls;
  Timer tmrVerifyVersion;
  Timer tmrPrintDots;

  DateTime CheckedOn = 0;                   // stored as the last check at unload; 0: nothing to store
  std::vector<std::string> FrequencyTexts;  // 0 never, 1 at every start, 2 weekly, 3 monthly
  std::vector<std::string> CheckLinkTexts;  // 0: the link itself, 1 to 7: by transfer state
  std::vector<std::string> UpdateNames;     // available updates from 1 on; element 0 is empty
  std::string UpdatesIniFile;               // the stored updates file

 protected:
  void OnReset() override;
  void OnLoad() override { Form_Load(); }
  void OnQueryUnload(bool& cancel, std::int32_t mode) override { Form_QueryUnload(cancel, mode); }
  void OnUnload() override;
  void OnClick(Control& control) override;
  void OnGotFocus(Control& control) override;
  void OnScrolled(ScrollBar&) override { vscUpdates_Change(); }
  void OnThumbMoved(ScrollBar&) override { vscUpdates_Scroll(); }

 private:
  // The flow of the dialog (dialog/dialog_flow.cpp).
  void BringUp(Keyboard keyboard);
  void Form_Load();
  void Form_QueryUnload(bool& Cancel, std::int32_t UnloadMode);
  void Form_Unload();
  void tmrVerifyVersion_Timer();
  void tmrPrintDots_Timer();
  void lblInfo_Click(int Index);
  void cmdOK_Click();
  void cmdLater_Click();
  void cmdClose_Click();
  void StartPrintDots();
  void ShowFrequency(std::int32_t frequency);
  std::optional<std::string> LastCheckText(DateTime when);
  void ReportStatus(std::int32_t status);

  // The dialog's texts (localization/LocalizeDialog.cpp).
  void LocalizeDialog();
  std::optional<std::string> ResString(const ResourceKey& key);  // none if no file has the key
  // The answer; 0 if no file has the key: then nothing is shown.
  std::int32_t ShowResMessage(const ResourceKey& key, std::int32_t buttons);
  void TakeTexts(std::vector<std::string>& texts, std::initializer_list<ResourceKey> keys);

  // Fetching a document (discovery/download.cpp).
  bool GetDocument(std::uint8_t DocumentKind, const std::string& URL, std::string Filename,
                   const std::string& Extension, bool ShowStatus, bool DocumentIsBinary);
  void WaitForDocument(const SameLoad& load, const std::shared_ptr<DocumentRun>& run);
  void ReportDocumentFailure();
  void netCommand_StateChanged(std::int16_t State);
  void ShowTransferState(std::int16_t State);
  void SaveDocument();
  void TakeTransferError();
  bool DocumentTimedOut() const;

  // A search (discovery/search.cpp) and its list (discovery/presentation.cpp).
  void CheckForUpdates(bool Interactive);
  bool RetrieveUpdates(bool Interactive);
  bool TakeUpdatesFile();
  bool CollectNewModules();
  void SearchByHand(const SearchRun& search);
  void SearchSilently(const SearchRun& search);
  void ShowCommunicationError();
  std::string LocalizedText(const std::string& key);
  std::optional<std::string> ReadUpdate(const std::string& section, const std::string& key,
                                        const ResourceKey& fallback);
  void MakeRoomForScrollBar(std::int32_t last, Twips& top);
  void UpdateItem_MoreInfoClicked(std::int16_t Index, const std::string& URL);
  void vscUpdates_Change();
  void vscUpdates_Scroll();
  void vscUpdates_GotFocus();

  // An installation (install/driver.cpp, install/actions.cpp, install/feedback.cpp).
  void cmdInstall_Click();
  bool PrepareHostProduct();
  bool InstallUpdate(std::int32_t i);
  void CloseRun(std::int32_t succeeded, std::int32_t failed);
  bool VerifyDocument(std::shared_ptr<OpenFile> File, std::int32_t Size, std::string CRC);
  bool ApplyUpdateActions(AvailableUpdate& Item);
  bool ApplyActionLine(const std::string& line);
  bool Unzip(const std::string& folder);
  Fault ReplacedSince(const std::string& command);
  bool ExpandInstallPath(const std::string& Path, std::string& Expanded);
  void BeginTranscript();
  void AddFeedbackLine(std::int32_t fbState, const std::vector<std::string>& Information);
  std::optional<std::string> FeedbackText(std::int32_t fbState, const std::vector<std::string>& Information);

  std::int32_t UpdateCount() const { return static_cast<std::int32_t>(UpdateNames.size()) - 1; }

  Needs needs_;
  std::shared_ptr<DocumentRun> document_ = std::make_shared<DocumentRun>();
  SearchRun* search_ = nullptr;  // the latest of those that run
  TranscriptRun transcript_;
  ActionRun action_;
  bool frequency_is_known_ = false;  // read successfully or chosen by the user: may be stored
};

}  // namespace tsly
