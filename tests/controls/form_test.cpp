#include "controls/form.h"

#include <gtest/gtest.h>

#include <optional>

#include "controls/description.h"
#include "controls/layout.h"
#include "support/headless_toolkit.h"

namespace tsly {
namespace {

using enum UiEvent::Kind;

ControlLook LookAt(Rect rect, std::string text = {}) {
  ControlLook look;
  look.rect = rect;
  look.text = std::move(text);
  return look;
}

// A title, a list of items with a link each, and a button; the items come last, as in the dialog.
class ListForm final : public Form {
 public:
  ListForm() : Form(toolkit) { Show(); }
  void OnReset() override {
    panel.Reset(LookAt({0, 0, 5000, 4000}));
    title.Reset(LookAt({300, 100, 900, 195}, "Title"));
    list.Reset(LookAt({300, 300, 4000, 1000}));
    bar.Reset(LookAt({3700, 0, 300, 1000}));
    bar.SetMax(1700);
    button.Reset(LookAt({2000, 3000, 900, 400}, "Button"));
    item.Reset(LookAt({0, 0, 3700, 900}));
    item2.Reset(LookAt({0, 900, 3700, 900}));
    ControlLook look = LookAt({100, 600, 500, 195}, "Link");
    look.font.underline = true;
    link->Reset(look);
    look.text = "Link 2";
    link2.Reset(look);
  }
  void OnLoad() override { SetCaption("Caption"); }
  void OnQueryUnload(bool&, std::int32_t) override {}
  void OnUnload() override {}
  void OnClick(Control& control) override { did += control.Text(); }
  void OnScrolled(ScrollBar& moved) override { did += "V" + std::to_string(moved.Value()); }
  void OnThumbMoved(ScrollBar& moved) override { did += "T" + std::to_string(moved.Value()); }

  HeadlessToolkit toolkit;
  TextBox holder{*this, nullptr, "holder"};
  Control panel{*this, nullptr, ControlKind::Panel, "panel"};
  Label title{*this, &panel, "title"};
  Control list{*this, &panel, ControlKind::Panel, "list"};
  ScrollBar bar{*this, &list, "bar"};
  Control button{*this, &panel, ControlKind::Button, "button"};
  Control item{*this, &list, ControlKind::Panel, "item"}, item2{*this, &list, ControlKind::Panel, "item2"};
  std::optional<Label> link{std::in_place, *this, &item, "link"};
  Label link2{*this, &item2, "link2"};
  std::string did;
};

TEST(Form, KeysWheelThumbAndFocusScrollWithinTheRange) {
  ListForm form;
  form.holder.SetVisible(false);
  const ControlId bar = form.bar.Id(), link = form.link->Id(), link2 = form.link2.Id();
  const auto key = [](Key which) { return static_cast<std::int32_t>(which); };
  const std::tuple<UiEvent, std::int32_t, const char*> kCases[] = {
      {{KeyPressed, 0, key(Key::kUp)},                  500,  "V305"  },
      {{KeyPressed, 0, key(Key::kUp)},                  100,  "V0"    },
      {{KeyPressed, 0, key(Key::kDown)},                500,  "V695"  },
      {{KeyPressed, 0, key(Key::kDown)},                1700, ""      },
      {{KeyPressed, 0, key(Key::kPageUp)},              1500, "V500"  },
      {{KeyPressed, 0, key(Key::kPageDown)},            500,  "V1500" },
      {{KeyPressed, link, key(Key::kHome)},             500,  "V0"    },
      {{KeyPressed, 0, key(Key::kEnd)},                 500,  "V1700" },
      {{KeyPressed, form.holder.Id(), key(Key::kEnd)},  500,  "V1700" },
      {{KeyPressed, link, key(Key::kPress)},            500,  "Link"  },
      {{KeyPressed, form.title.Id(), key(Key::kPress)}, 500,  ""      },
      {{KeyPressed, 0, key(Key::kPress)},               500,  ""      },
      {{WheelTurned, link, WheelDistance(120)},         500,  "V1085" },
      {{WheelTurned, form.list.Id(), -600},             500,  "V0"    },
      {{WheelTurned, form.panel.Id(), 600},             500,  ""      },
      {{GotFocus, link2, 1},                            500,  "V1300" },
      {{GotFocus, link2, 0},                            500,  ""      },
      {{GotFocus, form.button.Id(), 1},                 500,  ""      },
      {{ThumbMoved, bar, 700},                          500,  "T700"  },
      {{ThumbMoved, bar, 1701},                         500,  "T1700" },
      {{ValueChanged, bar, -1},                         500,  "V0"    },
      {{ValueChanged, link, 5},                         500,  ""      },
      {{Click, form.button.Id(), 0},                    500,  "Button"},
  };
  for (const auto& [event, from, did] : kCases) {
    form.bar.SetValue(from);
    form.did.clear();
    form.Deliver(event, form.LoadNumber());
    EXPECT_EQ(form.did, did) << static_cast<int>(event.kind) << ", " << event.value;
  }
}

TEST(Form, AnEventThatComesTooLateIsDropped) {
  using Event = std::function<void()>;
  // clang-format off
  const struct {
    const char* when;
    void (*send)(ListForm& form, const Event& click);
    const char* did;
  } kCases[] = {
      {"in time", [](ListForm&, const Event& click) { click(); }, "Link"},
      {"gone", [](ListForm& form, const Event& click) { form.link.reset(); click(); }, ""},
      {"hidden", [](ListForm& form, const Event& click) { form.panel.SetVisible(false); click(); }, ""},
      {"disabled", [](ListForm& form, const Event& click) { form.link->SetEnabled(false); click(); }, ""},
      {"unloaded", [](ListForm& form, const Event& click) { form.Unload(); click(); }, ""},
      {"of an earlier load", [](ListForm& form, const Event& click) { form.Unload(); form.Show(); click(); }, ""},
      {"below a message", [](ListForm& form, const Event& click) {
         form.toolkit.during_message = click;
         form.toolkit.answers = {kAnswerOk};
         form.toolkit.ShowMessage("Text", 0, std::nullopt); }, ""},
  };
  // clang-format on
  for (const auto& row : kCases) {
    ListForm form;
    const UiEvent click{Click, form.link->Id(), 0};
    row.send(form, [&, load = form.LoadNumber()] { form.Deliver(click, load); });
    EXPECT_EQ(form.did, row.did) << row.when;
  }
}

TEST(Form, TabGoesPanelByPanelAndRound) {
  ListForm form;
  const auto walk = [&](const Control* from, bool forward) {
    std::string names;
    for (int i = 0; i < 4; ++i) {
      from = NextFocus(ControlsWithinReach(form.Controls()), from == nullptr ? 0 : from->Id(), forward);
      names += from == nullptr ? "-" : from->Name() + " ";
    }
    return names;
  };
  EXPECT_EQ(walk(nullptr, true), "link link2 button link ");
  EXPECT_EQ(walk(&form.holder, false), "button link2 link button ");
  form.link->SetFont({});
  EXPECT_EQ(walk(&*form.link, true), "link2 button link2 button ") << "a search takes the underline away";
  form.list.SetEnabled(false);
  EXPECT_EQ(NextFocus(ControlsWithinReach(form.Controls()), form.button.Id(), true), nullptr);
}

TEST(Form, ControlsAreDescribedByKindAndNearestLabel) {
  ListForm form;
  EXPECT_EQ(AccessibleNames(form.Caption(), ControlsWithinReach(form.Controls())),
            (std::vector<std::string>{"Caption", "Title", "Title", "Title", "Title", "Button", "Link", "Link 2", "Link",
                                      "Link 2"}));
  const std::tuple<ControlKind, std::int32_t, bool, bool, Role, FocusAccess> kCases[] = {
      {ControlKind::Panel,     kPointerCustom,    false, false, Role::kGroup,      FocusAccess::kNone     },
      {ControlKind::Label,     kPointerHourglass, false, false, Role::kText,       FocusAccess::kNone     },
      {ControlKind::Label,     kPointerCustom,    false, false, Role::kLink,       FocusAccess::kByTab    },
      {ControlKind::Label,     kPointerDefault,   true,  false, Role::kLink,       FocusAccess::kByTab    },
      {ControlKind::Image,     kPointerCustom,    true,  false, Role::kDecoration, FocusAccess::kNone     },
      {ControlKind::Button,    kPointerDefault,   false, false, Role::kButton,     FocusAccess::kByTab    },
      {ControlKind::TextBox,   kPointerDefault,   false, false, Role::kGroup,      FocusAccess::kNone     },
      {ControlKind::TextBox,   kPointerDefault,   false, true,  Role::kEdit,       FocusAccess::kByTab    },
      {ControlKind::ScrollBar, kPointerDefault,   false, false, Role::kScrollBar,  FocusAccess::kByPointer},
  };
  for (const auto& [kind, pointer, underline, multi_line, role, access] : kCases) {
    ControlLook look;
    look.mouse_pointer = pointer;
    look.font.underline = underline;
    look.multi_line = multi_line;
    EXPECT_EQ(RoleOf(kind, look), role);
    EXPECT_EQ(FocusAccessOf(kind, look), access);
  }
  for (const bool before : {false, true}) {
    for (const auto kind : {ControlKind::Label, ControlKind::TextBox}) {
      EXPECT_TRUE(ShowsFocus(kind, FocusCause::kTab, before));
      EXPECT_FALSE(ShowsFocus(kind, FocusCause::kPointer, before));
      EXPECT_EQ(ShowsFocus(kind, FocusCause::kProgram, before), kind == ControlKind::Label);
      EXPECT_EQ(ShowsFocus(kind, FocusCause::kWindow, before), before);
    }
  }
}

TEST(Form, OnlyWhatIsNewInATextIsAnnounced) {
  const std::tuple<const char*, const char*, TextChange> kCases[] = {
      {"",           "a",          {0, true} },
      {"one",        "one..",      {3, false}},
      {"one.",       "one.\r\n",   {4, true} },
      {"one.",       "one",        {3, true} },
      {"one",        "on..",       {2, true} },
      {"one\r\ntwo", "one\r\nsix", {5, true} },
      {"one\r\ntwo", "one\rsix",   {3, true} },
      {"\u00E4",     "\u00F6",     {0, true} },
  };
  for (const auto& [before, after, change] : kCases) EXPECT_EQ(ChangeOf(before, after), change) << before << after;
}

TEST(Form, WhatGoesBeyondItsRoomIsCutToIt) {
  ListForm form;
  const std::tuple<Rect, bool, bool, Twips> kWidths[] = {
      {{300, 100, 900, 195},   true,  false, 900 },
      {{300, 100, 9000, 195},  true,  false, 4505},
      {{300, 2805, 9000, 195}, true,  false, 4505},
      {{300, 2806, 9000, 195}, true,  false, 1625}, // beside the button
      {{2500, 3000, 900, 195}, true,  false, 900 },
      {{4900, 100, 900, 195},  true,  false, 0   },
      {{300, 100, 9000, 195},  true,  true,  9000},
      {{300, 100, 9000, 195},  false, false, 9000},
  };
  for (const auto& [rect, auto_size, word_wrap, width] : kWidths) {
    ControlLook look = LookAt(rect);
    look.auto_size = auto_size;
    look.word_wrap = word_wrap;
    form.title.Control::Reset(look);
    EXPECT_EQ(DrawnRect(form.title, ControlsWithinReach(form.Controls())).width, width) << rect.top;
  }
  const std::tuple<Twips, Twips, Twips, Twips> kDistances[] = {
      {100,  900,  600, 0   },
      {101,  900,  0,   1   },
      {-300, 900,  600, -300},
      {-300, 1001, 600, 0   }, // too high: the link alone
      {500,  1001, 600, 295 },
      {-900, 1001, 600, -300},
  };
  for (const auto& [top, height, link_top, distance] : kDistances) {
    form.item.Move({0, top, 3700, height});
    form.link->SetTop(link_top);
    EXPECT_EQ(DistanceIntoView(form.bar, *form.link), distance) << top;
  }
  ControlLook look = LookAt({}, "text");
  look.selection_start = look.selection_length = INT32_MAX;
  EXPECT_EQ(SelectionOf(look), (Selection{4, 4}));
  look.selection_start = -1;
  look.selection_length = 3;
  EXPECT_EQ(SelectionOf(look), (Selection{0, 2}));
  EXPECT_EQ(InPixels(Rect{8, -8, 15, 15}, 15), (Rect{1, -1, 1, 1}));
  const std::size_t all = form.Controls().size();
  form.item.SetTop(INT16_MAX + 1000);
  EXPECT_EQ(ControlsWithinReach(form.Controls()).size(), all);
  form.item.SetTop(INT16_MAX + 1001);
  EXPECT_EQ(ControlsWithinReach(form.Controls()).size(), all - 2);
}

}  // namespace
}  // namespace tsly
