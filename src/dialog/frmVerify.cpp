#include "dialog/frmVerify.h"

#include "ports/files.h"
#include "ports/profile.h"
#include "ports/transfer.h"

namespace tsly {

frmVerify::frmVerify(const Needs& needs)
    : Form(needs.toolkit),
      controls(*this),
      tmrVerifyVersion(needs.loop, [this] { RunHandler([this] { tmrVerifyVersion_Timer(); }); }),
      tmrPrintDots(needs.loop, [this] { RunHandler([this] { tmrPrintDots_Timer(); }); }),
      UpdateNames(1),
      needs_(needs) {
  needs_.netCommand.SetStateChanged(
      [this](std::int16_t state) { RunHandler([&] { netCommand_StateChanged(state); }); });
}

frmVerify::~frmVerify() { needs_.netCommand.SetStateChanged(nullptr); }

void frmVerify::OnReset() {
  ResetForm("tslyCheckNew", kDialogBack, kDesignWidth, kDesignHeight);
  controls.Reset();
  tmrVerifyVersion.Reset(15000);
  tmrPrintDots.Reset(750);
}

// Ends everything that belongs to a load. A search that still waits finds the dialog unloaded and ends. The transfer is
// first: the settings may need the disk space of its response.
void frmVerify::OnUnload() {
  needs_.netCommand.Cancel();
  document_->file.reset();
  needs_.profiles.Unpin(UpdatesIniFile);
  Form_Unload();
  tmrVerifyVersion.SetEnabled(false);
  tmrPrintDots.SetEnabled(false);
}

void frmVerify::OnClick(Control& control) {
  if (&control == &controls.cmdOK) return cmdOK_Click();
  if (&control == &controls.cmdLater) return cmdLater_Click();
  if (&control == &controls.cmdInstall) return cmdInstall_Click();
  if (&control == &controls.cmdClose) return cmdClose_Click();
  if (control.Name() == "lblInfo") return lblInfo_Click(control.Index());
  if (control.Name() == "lblMoreInfo") {
    const auto& item = static_cast<const AvailableUpdate&>(*control.Parent());
    UpdateItem_MoreInfoClicked(static_cast<std::int16_t>(item.Index()), item.UpdateElementDesc);
  }
}

void frmVerify::OnGotFocus(Control& control) {
  if (&control == &controls.vscUpdates) vscUpdates_GotFocus();
}

}  // namespace tsly
