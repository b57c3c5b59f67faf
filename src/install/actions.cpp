// Runs the action lines of one update: unzips its pack; runs, registers and unregisters programs.
#include <optional>

#include "base/runtime_error.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "install/action_line.h"
#include "install/path_macros.h"
#include "ports/files.h"
#include "ports/shell.h"
#include "ports/system_codes.h"
#include "ports/unzip.h"
#include "services/MTempFiles.h"

namespace tsly {
namespace {

constexpr std::int32_t kShowNormal = 1;
constexpr const char* kReplaced = "The file has been replaced since it was checked.";

// The program to start for a verb and its expanded argument.
struct Start {
  std::string command;
  std::optional<std::string> parameters;  // none: the launcher takes them from the command
};

Start StartOf(ActionWork work, const std::string& argument) {
  switch (work) {
    case ActionWork::UnregisterProgram:
      return {argument, "/unregserver"};
    case ActionWork::RegisterProgram:
      return {argument, "/regserver"};
    case ActionWork::UnregisterLibrary:
      return {"REGSVR32.EXE", "/u /s \"" + argument + "\""};
    case ActionWork::RegisterLibrary:
      return {"REGSVR32.EXE", "/s \"" + argument + "\""};
    default:
      return {argument, std::nullopt};
  }
}

}  // namespace

bool frmVerify::ApplyUpdateActions(AvailableUpdate& Item) {
  const SameLoad load(*this);
  for (std::int32_t index = 1;; ++index) {
    const std::string line = Item.UpdateElementAction(index);
    if (line.empty()) return true;
    if (!ApplyActionLine(line) || !load) return false;
  }
}

bool frmVerify::ApplyActionLine(const std::string& line) {
  const ActionVerb* verb = VerbOf(line);
  if (verb == nullptr) return true;
  action_ = ActionRun{verb->failed_state, ""};
  ProcessFeedback(verb->started_state);
  if (!ExpandInstallPath(ArgumentOf(line), action_.path)) {
    ProcessFeedback(verb->failed_state, {"folder", action_.path});
    return false;
  }
  if (verb->work == ActionWork::Unzip) return Unzip(action_.path);

  const SameLoad load(*this);
  const Start start = StartOf(verb->work, action_.path);
  Fault fault = ReplacedSince(action_.path);
  if (!fault) fault = needs_.global.RunElevated(start.command, start.parameters, kShowNormal);
  // Checks again: the user may have taken minutes to consent. A program that has deleted itself meanwhile is fine.
  if (!fault && load && needs_.global.FileExists(document_->DocumentFile)) fault = ReplacedSince(action_.path);
  if (fault) {
    if (load)
      ProcessFeedback(verb->failed_state, {"launch", action_.path, std::to_string(fault.number), fault.description});
    return false;
  }
  if (verb->work == ActionWork::Execute) {
    needs_.temp_files.LeaveTempFiles();
    needs_.shell.EndProcess();
  }
  return true;
}

// A fault if the command names the downloaded document and another file has that name now: only the verified file may
// be started.
Fault frmVerify::ReplacedSince(const std::string& command) {
  const std::string& name = document_->DocumentFile;
  if (LowerCase(command).find(LowerCase(name)) == std::string::npos) return {};
  if (document_->file && document_->file->IsAt(name)) return {};
  return {kSharingViolation, "ApplyUpdateActions", kReplaced};
}

bool frmVerify::Unzip(const std::string& folder) {
  const std::unique_ptr<UnzipComponent> component = needs_.unzip.Create();
  if (!component) throw RuntimeError{kErrorCannotCreateObject, "ApplyUpdateActions", "Can't create object"};
  RaiseIf(component->SetArchiveFile(document_->DocumentFile, document_->file));
  RaiseIf(component->SetExtractFolder(folder));
  RaiseIf(component->SetExtractOptionA(true));
  RaiseIf(component->SetExtractOptionB(true));
  std::string first, second;
  std::int32_t result = 0;
  RaiseIf(component->Extract(first, second, result));
  if (result == 0) return true;
  ProcessFeedback(fbUnzipFailed, {"unzip", component->FailureText()});
  return false;
}

bool frmVerify::ExpandInstallPath(const std::string& Path, std::string& Expanded) {
  return ExpandMacros(Path,
                      {.document_file = document_->DocumentFile,
                       .app = needs_.global.TargetAppPath,
                       .common_appdata = needs_.global.GetSpecialFolder(kFolderCommonAppData, "", kProductSubPath)},
                      Expanded);
}

}  // namespace tsly
