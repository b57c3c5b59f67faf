#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <deque>
#include <tuple>

#include "contract/text_measure_suite.h"
#include "controls/form.h"
#include "qt/application_environment.h"
#include "qt/qt_toolkit.h"

namespace tsly {
namespace {

constexpr Color kGround{0x40, 0x40, 0x40}, kPanelColor{0x10, 0x80, 0x30}, kLineColor{0xC0, 0x20, 0x20};
constexpr Twips kPanelHeight = 1500;

ControlLook LookAt(Rect rect, std::string text = {}) {
  ControlLook look;
  look.rect = rect;
  look.text = std::move(text);
  look.back_color = kPanelColor;
  look.fore_color = kLineColor;
  return look;
}

// A dialog with every kind of control, which records its events.
class SampleForm final : public Form {
 public:
  using Form::Form;

  void OnReset() override {
    ResetForm("Sample", kGround, 6000, 4500);
    focus_holder.Reset(LookAt({0, -1000, 900, 300}));
    panel.Reset(LookAt({300, 300, 3000, kPanelHeight}));
    ControlLook look = LookAt({150, 150, 900, 195}, "<b>A&B</b> and more");
    look.transparent = look.auto_size = true;
    label.Reset(look);
    look.rect.top = 450;
    look.text = "More info";
    look.mouse_pointer = kPointerCustom;
    link.Reset(look);
    bar.Reset(LookAt({2700, 0, 300, kPanelHeight}));
    bar.SetMax(3000);
    rectangle.Reset(LookAt({3600, 300, 600, 600}));
    line.Reset(LookAt({3600, 1050, 600, 0}));
    look = LookAt({4500, 300, 720, 690});
    look.picture = "imgPicture";
    image.Reset(look);
    button.Reset(LookAt({300, 2100, 1500, 375}, "R&D <i>"));
    look = LookAt({300, 2700, 3000, 900}, "one\r\ntwo");
    look.multi_line = look.read_only = true;
    text.Reset(look);
  }
  void OnLoad() override {}
  void OnQueryUnload(bool& cancel, std::int32_t mode) override {
    notes += "?" + std::to_string(mode);
    cancel = refuse_unload;
  }
  void OnUnload() override { notes += "U"; }
  void OnClick(Control& control) override {
    notes += "C:" + control.Name();
    if (on_click) on_click();
  }
  void OnGotFocus(Control& control) override {
    if (&control != &bar) return;
    notes += "F";
    SetFocus(focus_holder);
  }
  void OnScrolled(ScrollBar& changed) override { notes += "V" + std::to_string(changed.Value()); }
  void OnThumbMoved(ScrollBar& moved) override { notes += "T" + std::to_string(moved.Value()); }

  TextBox focus_holder{*this, nullptr, "focus_holder"};
  Control panel{*this, nullptr, ControlKind::Panel, "panel"};
  Label label{*this, &panel, "label"}, link{*this, &panel, "link", 7};
  ScrollBar bar{*this, &panel, "bar"};
  Control rectangle{*this, nullptr, ControlKind::Rectangle, "rectangle"};
  Control line{*this, nullptr, ControlKind::Line, "line"};
  Control image{*this, nullptr, ControlKind::Image, "image"};
  Control button{*this, nullptr, ControlKind::Button, "button"};
  TextBox text{*this, nullptr, "text"};
  bool refuse_unload = false;
  std::function<void()> on_click;
  std::string notes;
};

class QtToolkitTest : public testing::Test, protected RunningLoop {
 protected:
  void Serve() { loop.ProcessPendingEvents(); }
  std::string Served() {
    Serve();
    return std::exchange(form.notes, {});
  }
  QWidget* Window() const {
    QWidget* shown = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (!window->isVisible() || qobject_cast<QMessageBox*>(window) != nullptr) continue;
      EXPECT_EQ(shown, nullptr) << "two windows";
      shown = window;
    }
    return shown;
  }
  QWidget* Find(const char* name) const { return Window()->findChild<QWidget*>(QString::fromLatin1(name)); }
  QWidget* Shown(const char* name) {
    if (!form.Visible()) form.Show();
    Served();
    return Find(name);
  }
  QImage Drawn() {
    Serve();
    return Window()->grab().toImage();
  }
  std::string Clicked(const char* name) {
    QTest::mouseClick(Find(name), Qt::LeftButton);
    return Served();
  }

  QtToolkit toolkit{loop};
  SampleForm form{toolkit};
};

bool IsNear(const QColor& a, Color b) {
  return std::abs(a.red() - b.red) + std::abs(a.green() - b.green) + std::abs(a.blue() - b.blue) < 12;
}

// The columns from the first to the last that differ from the background.
int InkWidth(const QImage& image) {
  int first = image.width(), last = -1;
  for (int i = 0; i < image.width() * image.height(); ++i) {
    const int x = i / image.height(), y = i % image.height();
    if (IsNear(image.pixelColor(x, y), kPanelColor)) continue;
    first = std::min(first, x);
    last = x;
  }
  return last - first + 1;
}

TEST_F(QtToolkitTest, DrawsControlsAsInTheModels) {
  form.Load();
  Serve();
  EXPECT_EQ(Window(), nullptr);
  form.Show();
  const QImage first = Drawn();
  form.panel.Move({600, 300, 3000, kPanelHeight});
  form.rectangle.SetVisible(false);
  const QImage moved = Drawn();
  EXPECT_EQ(Window()->windowTitle(), QStringLiteral("Sample"));
  EXPECT_EQ(Window()->size(), QSize(400, 300));
  const std::tuple<const QImage&, int, int, Color> points[] = {
      {first, 5,   5,   kGround    }, // form
      {first, 20,  20,  kPanelColor}, // panel, its first pixel
      {first, 19,  19,  kGround    },
      {first, 190, 119, kPanelColor}, // panel next to the scroll bar
      {first, 240, 20,  kLineColor }, // rectangle: edges only
      {first, 279, 59,  kLineColor },
      {first, 260, 40,  kGround    },
      {first, 250, 70,  kLineColor }, // line
      {first, 250, 71,  kGround    },
      {first, 100, 230, kPanelColor}, // text box, next to its text
      {moved, 20,  20,  kGround    },
      {moved, 215, 115, kPanelColor},
      {moved, 279, 59,  kGround    },
  };
  for (const auto& [image, x, y, color] : points) EXPECT_TRUE(IsNear(image.pixelColor(x, y), color)) << x << ", " << y;
  EXPECT_FALSE(IsNear(first.pixelColor(324, 43), kGround));  // the middle of the picture
}

TEST_F(QtToolkitTest, TextIsDrawnLiterallyAndAsWideAsMeasured) {
  const QWidget* label = Shown("label");
  const TextSize size = toolkit.MeasureText(form.label.Text(), {}, std::nullopt);
  EXPECT_EQ(label->size(), QSize(size.width / 15, size.height / 15));
  const QRect place(label->mapTo(Window(), QPoint(0, 0)), label->size());
  EXPECT_NEAR(InkWidth(Window()->grab(place).toImage()), place.width(), 3);
  EXPECT_EQ(qobject_cast<QPushButton*>(Find("button"))->shortcut(), QKeySequence());
  EXPECT_EQ(qobject_cast<QPlainTextEdit*>(Find("text"))->toPlainText(), QStringLiteral("one\ntwo"));
}

TEST_F(QtToolkitTest, ATextWithoutRoomIsElidedWithAToolTip) {
  QString whole;
  for (int i = 0; i < 30; ++i) whole += QStringLiteral("<b>word</b> ");
  QWidget* label = Shown("label");
  form.label.SetText(whole.toStdString());
  form.button.SetText(whole.toStdString());
  Drawn();
  EXPECT_LE(label->geometry().right(), label->parentWidget()->width());
  for (const QWidget* cut : {label, Find("button")}) {
    EXPECT_TRUE(cut->toolTip().contains(whole.toHtmlEscaped())) << cut->toolTip().toStdString();
    EXPECT_EQ(cut->accessibleName(), whole);
  }
  EXPECT_LE(qobject_cast<QPushButton*>(Find("button"))->sizeHint().width(), 100 + 30);
  form.label.SetText("short");
  Drawn();
  EXPECT_EQ(label->toolTip(), QString());

  ControlLook wrapped = LookAt({150, 150, 2100, 195}, "words");
  for (int i = 0; i < 100; ++i) wrapped.text += i % 3 == 0 ? " longer" : " w";
  wrapped.auto_size = wrapped.word_wrap = true;
  form.label.Reset(wrapped);
  Drawn();
  EXPECT_EQ(label->toolTip(), QString()) << "grown to fit its text";
}

TEST_F(QtToolkitTest, RightToLeftTextIsAlignedRight) {
  ControlLook look = LookAt({0, 0, 2400, 195}, "\u05D0\u05D1 1");
  look.transparent = true;
  form.Load();
  form.label.Reset(look);
  const QWidget* label = Shown("label");
  const QRect left_half(label->mapTo(Window(), QPoint(0, 0)), QSize(label->width() / 2, label->height()));
  EXPECT_LE(InkWidth(Window()->grab(left_half).toImage()), 0);
  EXPECT_GT(InkWidth(Window()->grab(left_half.translated(left_half.width(), 0)).toImage()), 5);
}

TEST_F(QtToolkitTest, ClicksAndKeysReachTheFormThroughTheLoop) {
  QTest::mouseClick(Shown("button"), Qt::LeftButton);
  EXPECT_EQ(form.notes, "");  // not inside the widget's own functions
  EXPECT_EQ(Served(), "C:button");
  EXPECT_EQ(Clicked("link(7)") + Clicked("label"), "C:linkC:label");
  QTest::mouseClick(Find("panel"), Qt::LeftButton, {}, QPoint(5, 90));
  EXPECT_EQ(Served(), "C:panel");
  for (const char* name : {"link(7)", "button"}) {
    for (const auto key : {Qt::Key_Return, Qt::Key_Space}) QTest::keyClick(Find(name), key);
  }
  EXPECT_EQ(Served(), "C:linkC:linkC:buttonC:button");
}

TEST_F(QtToolkitTest, TheFormDecidesOnTheCloseButton) {
  QPointer<QWidget> window = Shown("button")->window();
  form.refuse_unload = true;
  window->close();
  EXPECT_EQ(Served(), "?0");
  EXPECT_TRUE(window->isVisible());
  form.refuse_unload = false;
  window->close();
  EXPECT_EQ(Served(), "?0U");
  EXPECT_EQ(window, nullptr);
}

TEST_F(QtToolkitTest, AnUnloadInsideAClickKeepsTheWindowUntilTheClickEnds) {
  QPointer<QWidget> window = Shown("button")->window();
  bool lived_on = false;
  form.on_click = [&] {
    form.Unload();
    form.Show();
    Serve();
    lived_on = window != nullptr && !window->isVisible() && Window() != nullptr;
  };
  QTest::mouseClick(Find("button"), Qt::LeftButton);
  EXPECT_EQ(Clicked("button"), "C:button?1U");  // the second one is from the former load
  EXPECT_TRUE(lived_on);
  EXPECT_EQ(window, nullptr);
  form.on_click = nullptr;
  EXPECT_EQ(Clicked("button"), "C:button");
}

TEST_F(QtToolkitTest, ControlsAreAddedAndRemoved) {
  Shown("panel");
  std::deque<Control> items;
  for (int i = 1; i <= 300; ++i) {
    items.emplace_back(form, &form.panel, ControlKind::Panel, "item", i).Reset(LookAt({0, 75 * i, 1500, 300}));
  }
  toolkit.Refresh(form);
  QPointer<QWidget> item = Find("item(300)");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->geometry(), QRect(0, 1500, 100, 20));
  items.pop_back();
  toolkit.Refresh(form);
  EXPECT_FALSE(item->isVisible());
  Serve();
  EXPECT_EQ(item, nullptr);
  EXPECT_NE(Find("item(299)"), nullptr);
}

TEST_F(QtToolkitTest, TheScrollBarFollowsUserAndModel) {
  auto* bar = qobject_cast<QScrollBar*>(Shown("bar"));
  form.bar.SetValue(600);
  EXPECT_EQ(Served(), "V600");  // from the setter, without an echo
  EXPECT_EQ(bar->value(), 600);

  bar->setSliderDown(true);
  bar->setSliderPosition(700);
  EXPECT_EQ(Served(), "T700");
  bar->setSliderDown(false);
  EXPECT_EQ(Served(), "");  // released at the model's value

  bar->triggerAction(QAbstractSlider::SliderToMaximum);
  form.bar.SetMax(2000);  // the range shrinks before the report arrives
  EXPECT_EQ(Served(), "V2000");
  EXPECT_EQ(bar->value(), 2000);

  QWidget* label = Find("label");
  QWheelEvent notch(QPointF(1, 1), label->mapToGlobal(QPointF(1, 1)), {}, QPoint(0, 120), {}, {}, Qt::NoScrollPhase,
                    false);
  QSpontaneKeyEvent::setSpontaneous(&notch);  // like the window system: only such events propagate to parents
  QCoreApplication::instance()->notify(label, &notch);
  EXPECT_EQ(Served(), "V1415");  // three lines of 195
  QTest::keyClick(Window(), Qt::Key_Home);
  EXPECT_EQ(Served(), "V0");

  form.link.SetTop(1455);  // partly below the panel
  Serve();
  Find("link(7)")->setFocus(Qt::TabFocusReason);
  EXPECT_EQ(Served(), "V150");
  bar->setFocus(Qt::MouseFocusReason);
  EXPECT_EQ(Served(), "F");
  EXPECT_TRUE(Find("focus_holder")->hasFocus());
  EXPECT_TRUE(form.UnhandledErrors().empty());
}

TEST_F(QtToolkitTest, AMessageBoxProcessesEvents) {
  const std::tuple<std::int32_t, Qt::Key, std::int32_t> cases[] = {
      {kIconWarning,                  Qt::Key_Escape, kAnswerOk },
      {kIconInformation,              Qt::Key_Return, kAnswerOk },
      {kIconStop | kButtonsYesNo,     Qt::Key_Escape, kAnswerNo },
      {kIconQuestion | kButtonsYesNo, Qt::Key_Return, kAnswerYes},
  };
  for (const auto& [style, key, answer] : cases) {
    form.Show();
    int ticks = 0;
    const TimerId timer = loop.StartTimer(std::chrono::milliseconds(5), [&, pressed = key] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      if (++ticks == 1) return form.Unload();  // the dialog below may be destroyed
      EXPECT_EQ(box->windowTitle(), QStringLiteral("tslyCheckNew"));
      EXPECT_EQ(box->textFormat(), Qt::PlainText);
      EXPECT_TRUE(toolkit.MessageIsOpen());
      QTest::keyClick(box, pressed);
    });
    EXPECT_EQ(toolkit.ShowMessage("<b>Text</b>", style, std::nullopt), answer) << style;
    EXPECT_EQ(ticks, 2);
    loop.StopTimer(timer);
  }
}

TEST_F(QtToolkitTest, WhenHeadlessNothingWaitsForAnAnswer) {
  QtToolkit unseen(loop, QtToolkit::Interaction::kHeadless);
  EXPECT_EQ(unseen.ShowMessage("Text", kIconStop, std::nullopt), kAnswerOk);
  EXPECT_EQ(unseen.ShowMessage("Text", kButtonsYesNo, std::nullopt), kAnswerNo);
  SampleForm offered(unseen);
  offered.Show();
  Serve();
  EXPECT_EQ(offered.notes, "?0U");
}

struct MeasuringToolkit : RunningLoop {
  QtToolkit toolkit{loop};
};

std::shared_ptr<TextMeasure> MakeQt() {
  const auto owner = std::make_shared<MeasuringToolkit>();
  return {owner, &owner->toolkit};
}
INSTANTIATE_TEST_SUITE_P(Qt, TextMeasureSuite, testing::Values(&MakeQt));

}  // namespace
}  // namespace tsly
