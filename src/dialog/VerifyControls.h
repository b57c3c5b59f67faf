// The controls of frmVerify and their design: one table of positions, sizes, colours and fonts, to which every load
// resets the dialog. In control arrays, the elements of the 100 series are on the check panel, those of the 200 series
// on the updates panel.
#pragma once

#include <array>

#include "controls/control.h"
#include "controls/control_array.h"
#include "discovery/AvailableUpdate.h"

namespace tsly {

inline constexpr Color kDialogBack{64, 64, 64};
inline constexpr Color kLinkColor{192, 192, 255};
inline constexpr Twips kDesignWidth = 7950;
inline constexpr Twips kDesignHeight = 5550;

struct VerifyControls {
  explicit VerifyControls(Form& form);

  // Resets every control to its design and unloads the list.
  void Reset();

  // Elements of the control arrays; an index that doesn't exist throws error 340.
  Control& picStep(int index);
  Label& lblInfo(int index);
  std::array<Control*, 2> AllPicStep() { return {&picStep100, &picStep200}; }
  std::array<Label*, 8> AllLblInfo();

  TextBox txtFocus;
  Control picStep100;
  Control imgPicture100;
  Label lblInfo100, lblInfo101, lblInfo102, lblInfo103, lblInfo104, lblInfo105;
  Control cmdOK;
  Control picStep200;
  Control imgPicture0;
  Label lblInfo200, lblInfo201;
  Control Shape1;
  Control picUpdates;
  ControlArray<AvailableUpdate> UpdateItem;
  ScrollBar vscUpdates;
  TextBox txtProcessing;
  Control cmdLater, cmdInstall, cmdClose;
};

}  // namespace tsly
