#include "dialog/VerifyControls.h"

#include "base/runtime_error.h"
#include "ports/toolkit.h"

namespace tsly {
namespace {

constexpr Color kFrame{80, 80, 80};
constexpr Color kListBack{72, 72, 72};
constexpr Color kTranscriptBack{56, 56, 56};
constexpr Color kTranscriptText{255, 255, 128};

// The appearances in the design, each for a rectangle.

ControlLook Plain(Rect rect) {
  ControlLook look;
  look.rect = rect;
  return look;
}

ControlLook Hidden(Rect rect) {
  ControlLook look = Plain(rect);
  look.visible = false;
  return look;
}

ControlLook CheckPanel(Rect rect) {
  ControlLook look = Plain(rect);
  look.back_color = kDialogBack;
  return look;
}

ControlLook UpdatesPanel(Rect rect) {
  ControlLook look = CheckPanel(rect);
  look.visible = false;
  return look;
}

ControlLook ListPanel(Rect rect) {
  ControlLook look = Plain(rect);
  look.back_color = kListBack;
  return look;
}

ControlLook Picture(Rect rect) {
  ControlLook look = Plain(rect);
  look.picture = "imgPicture";
  return look;
}

ControlLook Text(Rect rect) {
  ControlLook look = Plain(rect);
  look.transparent = true;
  look.word_wrap = true;
  return look;
}

ControlLook Title(Rect rect) {
  ControlLook look = Text(rect);
  look.font.points = 14.25;
  look.font.bold = true;
  return look;
}

ControlLook FittedText(Rect rect) {
  ControlLook look = Text(rect);
  look.word_wrap = false;
  look.auto_size = true;
  return look;
}

ControlLook Link(Rect rect) {
  ControlLook look = FittedText(rect);
  look.fore_color = kLinkColor;
  look.font.underline = true;
  look.mouse_pointer = kPointerCustom;
  return look;
}

ControlLook Frame(Rect rect) {
  ControlLook look = Plain(rect);
  look.fore_color = kFrame;
  return look;
}

ControlLook Transcript(Rect rect) {
  ControlLook look = Hidden(rect);
  look.back_color = kTranscriptBack;
  look.fore_color = kTranscriptText;
  look.read_only = true;
  look.multi_line = true;
  return look;
}

constexpr Rect kModelItem{180, 135, 4875, 1050};

}  // namespace

VerifyControls::VerifyControls(Form& form)
    : txtFocus(form, nullptr, "txtFocus"),
      picStep100(form, nullptr, ControlKind::Panel, "picStep", 100),
      imgPicture100(form, &picStep100, ControlKind::Image, "imgPicture", 100),
      lblInfo100(form, &picStep100, "lblInfo", 100),
      lblInfo101(form, &picStep100, "lblInfo", 101),
      lblInfo102(form, &picStep100, "lblInfo", 102),
      lblInfo103(form, &picStep100, "lblInfo", 103),
      lblInfo104(form, &picStep100, "lblInfo", 104),
      lblInfo105(form, &picStep100, "lblInfo", 105),
      cmdOK(form, &picStep100, ControlKind::Button, "cmdOK"),
      picStep200(form, nullptr, ControlKind::Panel, "picStep", 200),
      imgPicture0(form, &picStep200, ControlKind::Image, "imgPicture", 0),
      lblInfo200(form, &picStep200, "lblInfo", 200),
      lblInfo201(form, &picStep200, "lblInfo", 201),
      Shape1(form, &picStep200, ControlKind::Rectangle, "Shape1"),
      picUpdates(form, &picStep200, ControlKind::Panel, "picUpdates"),
      UpdateItem([this, &form](int index) {
        auto item = std::make_unique<AvailableUpdate>(form, &picUpdates, "UpdateItem", index);
        item->Reset(Hidden(kModelItem));
        return item;
      }),
      vscUpdates(form, &picUpdates, "vscUpdates"),
      txtProcessing(form, &picStep200, "txtProcessing"),
      cmdLater(form, &picStep200, ControlKind::Button, "cmdLater"),
      cmdInstall(form, &picStep200, ControlKind::Button, "cmdInstall"),
      cmdClose(form, &picStep200, ControlKind::Button, "cmdClose") {}

void VerifyControls::Reset() {
  const struct {
    Control* control;
    ControlLook (*look)(Rect);
    Twips left, top, width, height;
    const char* text;  // the caption if no language file has one
  } kDesign[] = {
      {&txtFocus,      Plain,        2520, 4770, 960,  285,  ""       },
      {&picStep100,    CheckPanel,   0,    0,    7320, 4065, ""       },
      {&imgPicture100, Picture,      225,  270,  720,  690,  ""       },
      {&lblInfo100,    Title,        1305, 360,  5820, 375,  ""       },
      {&lblInfo101,    Text,         1305, 900,  5820, 1365, ""       },
      {&lblInfo102,    FittedText,   1305, 2475, 870,  225,  ""       },
      {&lblInfo103,    Link,         2385, 2475, 870,  225,  ""       },
      {&lblInfo104,    Text,         1305, 2700, 5820, 225,  ""       },
      {&lblInfo105,    Link,         1305, 3510, 870,  225,  ""       },
      {&cmdOK,         Plain,        5580, 3420, 1545, 420,  "OK"     },
      {&picStep200,    UpdatesPanel, 225,  225,  7320, 4065, ""       },
      {&imgPicture0,   Picture,      225,  270,  720,  690,  ""       },
      {&lblInfo200,    Title,        1305, 360,  5820, 375,  ""       },
      {&lblInfo201,    Text,         1305, 900,  5820, 240,  ""       },
      {&Shape1,        Frame,        1305, 1170, 5820, 2175, ""       },
      {&picUpdates,    ListPanel,    1320, 1185, 5790, 2145, ""       },
      {&vscUpdates,    Hidden,       5505, 0,    285,  2160, ""       },
      {&txtProcessing, Transcript,   270,  1890, 4110, 1275, ""       },
      {&cmdLater,      Plain,        1305, 3465, 2355, 375,  "Later"  },
      {&cmdInstall,    Plain,        4770, 3465, 2355, 375,  "Install"},
      {&cmdClose,      Hidden,       3060, 3510, 2355, 375,  "Close"  },
  };
  UpdateItem.UnloadAllButModel();
  for (const auto& row : kDesign) {
    ControlLook look = row.look({row.left, row.top, row.width, row.height});
    look.text = row.text;
    row.control->Reset(look);
  }
  UpdateItem(0).Reset(Hidden(kModelItem));
}

Control& VerifyControls::picStep(int index) {
  for (Control* panel : AllPicStep()) {
    if (panel->Index() == index) return *panel;
  }
  throw RuntimeError{kErrorNoControlElement, "picStep", "Control array element doesn't exist"};
}

Label& VerifyControls::lblInfo(int index) {
  for (Label* label : AllLblInfo()) {
    if (label->Index() == index) return *label;
  }
  throw RuntimeError{kErrorNoControlElement, "lblInfo", "Control array element doesn't exist"};
}

std::array<Label*, 8> VerifyControls::AllLblInfo() {
  return {&lblInfo100, &lblInfo101, &lblInfo102, &lblInfo103, &lblInfo104, &lblInfo105, &lblInfo200, &lblInfo201};
}

}  // namespace tsly
