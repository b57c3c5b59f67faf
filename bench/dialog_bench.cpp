// How quickly the dialog responds: dialog_bench URL, of a document of 1 GiB.
//   a click on the frequency until it is painted, while the document arrives
//   a dot and a line appended to a transcript of 400 lines
#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <cstdio>

#include "bench.h"
#include "install/transcript.h"

namespace tsly {
namespace {

using std::chrono::steady_clock;

// Clicks on a widget and records when it has been painted.
class Clicker final : public QObject {
 public:
  explicit Clicker(QWidget& widget) : widget_(widget) { widget.installEventFilter(this); }

  void Click() {
    clicked_ = steady_clock::now();
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
      QCoreApplication::postEvent(&widget_, new QMouseEvent(type, QPointF(5, 5), widget_.mapToGlobal(QPointF(5, 5)),
                                                            Qt::LeftButton, Qt::LeftButton, {}));
    }
  }
  std::vector<double> times;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint && clicked_ != steady_clock::time_point()) {
      times.push_back(Seconds(steady_clock::now() - clicked_) * 1000);
      clicked_ = {};
    }
    return false;
  }

 private:
  QWidget& widget_;
  steady_clock::time_point clicked_;
};

QWidget* WidgetCalled(const char* name) {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (auto* widget = window->findChild<QWidget*>(QLatin1StringView(name))) return widget;
  }
  return nullptr;
}

void ClicksDuringADownload(const std::string& url) {
  BenchApp<QtToolkit> app;
  app.SetVersionValue(kValueVersionFileUrl, url);
  app.program.dialog.Show();
  app.loop.ProcessPendingEvents();
  Clicker clicker(*WidgetCalled("lblInfo(103)"));
  const TimerId timer = app.loop.StartTimer(std::chrono::milliseconds(20), [&] {
    if (app.transfer.begun != steady_clock::time_point() && app.transfer.completed == steady_clock::time_point()) {
      clicker.Click();
    }
  });
  // There are no updates: answers the message.
  const TimerId answer = app.loop.StartTimer(std::chrono::milliseconds(50), [] {
    if (QWidget* box = QApplication::activeModalWidget()) box->close();
  });
  app.program.dialog.ShowTheResults();
  app.loop.StopTimer(timer);
  app.loop.StopTimer(answer);
  std::sort(clicker.times.begin(), clicker.times.end());
  std::printf("a click while 1 GiB arrives, until painted: %.1f ms (median of %zu), %.1f ms (longest)\n",
              Median(clicker.times), clicker.times.size(), clicker.times.back());
}

void LongTranscript() {
  BenchApp<QtToolkit> app;
  frmVerify& dialog = app.program.dialog;
  dialog.Show();
  dialog.controls.picStep200.SetVisible(true);
  dialog.ProcessFeedback(fbBegin);
  for (int line = 0; line < 400; ++line) dialog.ProcessFeedback(fbInstalled);
  dialog.ProcessFeedback(fbDownload, {"Designer", "1048576"});
  std::vector<double> dots, lines;
  for (int i = 0; i < 20; ++i) dots.push_back(1000 * SecondsOf([&] { dialog.ProcessFeedback(fbPrintDot); }));
  for (int i = 0; i < 20; ++i) lines.push_back(1000 * SecondsOf([&] { dialog.ProcessFeedback(fbInstalled); }));
  std::printf("a transcript of 400 lines, painted: a dot %.2f ms, a line %.2f ms (medians of 20)\n", Median(dots),
              Median(lines));
}

}  // namespace
}  // namespace tsly

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  if (argc > 1) tsly::ClicksDuringADownload(argv[1]);
  tsly::LongTranscript();
}
