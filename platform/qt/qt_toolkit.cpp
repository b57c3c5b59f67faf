#include "qt/qt_toolkit.h"

#include <QAbstractButton>
#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QScreen>
#include <QWindow>
#include <utility>

#include "controls/form.h"
#include "controls/layout.h"
#include "qt/qt_accessible.h"
#include "qt/qt_event_loop.h"
#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_window.h"

// Resources in a static library need explicit initialisation.
static void InitPictures() { Q_INIT_RESOURCE(pictures); }

namespace tsly {
namespace {

const char kProgramName[] = "tslyCheckNew";
constexpr Color kMessageBackground{0x40, 0x40, 0x40};
constexpr double kMessagePoints = 9;
constexpr std::int32_t kButtonMask = 0x0F, kIconMask = 0x70;

QRect UsableScreen() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen == nullptr ? QRect(0, 0, 1024, 768) : screen->availableGeometry();
}

QMessageBox::Icon IconFor(std::int32_t style) {
  switch (style & kIconMask) {
    case kIconStop:
      return QMessageBox::Critical;
    case kIconQuestion:
      return QMessageBox::Question;
    case kIconWarning:
      return QMessageBox::Warning;
    case kIconInformation:
      return QMessageBox::Information;
    default:
      return QMessageBox::NoIcon;
  }
}

// `box` has no parent: the window below may be destroyed while the box is open.
void ShowAbove(QMessageBox& box, const QWidget* window) {
  box.winId();  // creates its native window
  if (window != nullptr) box.windowHandle()->setTransientParent(window->windowHandle());
  box.show();  // its size is known from here on
  const QRect below = window != nullptr ? window->frameGeometry() : UsableScreen();
  box.move(below.center() - box.rect().center());
}

void LeaveKeyboard(QMessageBox& box) {
  box.setAttribute(Qt::WA_ShowWithoutActivating);
  box.setWindowFlag(Qt::WindowStaysOnTopHint);
}

}  // namespace

QtToolkit::QtToolkit(QtEventLoop& loop, Interaction interaction) : loop_(loop), interaction_(interaction) {
  InitPictures();
  DescribeControls();
  QCoreApplication::setApplicationName(QString::fromLatin1(kProgramName));  // the window class too
  QGuiApplication::setQuitOnLastWindowClosed(false);
  QApplication::setStyle(new DialogStyle);  // the application owns it
  QApplication::setPalette(PaletteOn(kMessageBackground));
  QApplication::setFont(QtFontFor({.points = kMessagePoints}));
  QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/pictures/icon.png")));
  session_end_ = QObject::connect(qGuiApp, &QGuiApplication::commitDataRequest, qGuiApp, [this] {
    for (const auto& [form, window] : windows_) window->RequestClose();
  });
  loop_.SetBeforeTurn([this] {
    for (const auto& [form, window] : windows_) window->DrawChanges();
  });
}

QtToolkit::~QtToolkit() {
  QObject::disconnect(session_end_);
  loop_.SetBeforeTurn(nullptr);
  for (const auto& [form, window] : windows_) delete window;
  SetScreenPointer(kPointerDefault);
}

TextSize QtToolkit::MeasureText(const std::string& text, const Font& font, std::optional<Twips> wrap_width) const {
  std::optional<int> wrap_pixels;
  if (wrap_width) wrap_pixels = InPixels(*wrap_width, kTwipsPerPixel);
  const QSize size = TextBlock(TextFromUtf8(text), font, wrap_pixels).Size();
  return {size.width() * kTwipsPerPixel, size.height() * kTwipsPerPixel};
}

ScreenMetrics QtToolkit::Metrics() {
  const QSize usable = UsableScreen().size();
  // Forms use their inner area: the frame's size is known only after the window is shown.
  return {.width = usable.width() * kTwipsPerPixel,
          .height = usable.height() * kTwipsPerPixel,
          .frame_width = 0,
          .frame_height = 0,
          .twips_per_pixel_x = kTwipsPerPixel};
}

FormWindow* QtToolkit::WindowOf(const Form& form) const {
  const auto found = windows_.find(&form);
  return found == windows_.end() ? nullptr : found->second;
}

FormWindow* QtToolkit::VisibleWindow() const {
  for (const auto& [form, window] : windows_) {
    if (window->isVisible()) return window;
  }
  return nullptr;
}

void QtToolkit::Open(Form& form) {
  Close(form);
  windows_[&form] = new FormWindow(form, loop_, UsableScreen());
}

void QtToolkit::Close(Form& form) {
  const auto found = windows_.find(&form);
  if (found == windows_.end()) return;
  found->second->Detach();
  loop_.DestroyAtOutermost(found->second);
  windows_.erase(found);
}

void QtToolkit::Show(Form& form, Keyboard keyboard) {
  FormWindow* window = WindowOf(form);
  if (window == nullptr) return;
  window->Reveal(keyboard);
  if (interaction_ == Interaction::kHeadless) window->RequestClose();
}

void QtToolkit::PlaceTopmost(Form& form) {
  if (FormWindow* window = WindowOf(form)) window->PlaceTopmost();
}

void QtToolkit::Refresh(Form& form) {
  FormWindow* window = WindowOf(form);
  if (window == nullptr) return;
  window->DrawChanges();
  window->repaint();
}

void QtToolkit::RepaintAll() {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->isVisible()) window->repaint();
  }
}

void QtToolkit::SetScreenPointer(std::int32_t pointer) {
  if (std::exchange(pointer_set_, pointer != kPointerDefault)) QGuiApplication::restoreOverrideCursor();
  if (pointer_set_) QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

std::int32_t QtToolkit::DoShowMessage(const std::string& prompt, std::int32_t style,
                                      const std::optional<std::string>& title) {
  const bool yes_no = (style & kButtonMask) == kButtonsYesNo;
  if (interaction_ == Interaction::kHeadless) return yes_no ? kAnswerNo : kAnswerOk;

  QMessageBox box;
  box.setIcon(IconFor(style));
  box.setWindowTitle(TextFromUtf8(title.value_or(kProgramName)));
  box.setTextFormat(Qt::PlainText);
  box.setText(TextFromUtf8(prompt));
  box.setStandardButtons(yes_no ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok);
  box.setDefaultButton(yes_no ? QMessageBox::Yes : QMessageBox::Ok);
  box.setEscapeButton(yes_no ? QMessageBox::No : QMessageBox::Ok);
  for (QAbstractButton* button : box.buttons())
    button->setIcon(QIcon());  // a style's own icons don't suit a dark dialog
  box.setWindowModality(Qt::ApplicationModal);
  bool answered = false;
  QObject::connect(&box, &QDialog::finished, &box, [&answered] { answered = true; });
  if (interaction_ == Interaction::kBackground && QApplication::activeWindow() == nullptr) LeaveKeyboard(box);

  ShowAbove(box, VisibleWindow());
  while (!answered) loop_.Wait(kForever);
  if (!yes_no) return kAnswerOk;
  return box.standardButton(box.clickedButton()) == QMessageBox::Yes ? kAnswerYes : kAnswerNo;
}

}  // namespace tsly
