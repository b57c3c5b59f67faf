// The time from the start of the process to the painted check panel on the screen, compared with plain_dialog:
// start_bench FOLDER, on a display without a window manager. FOLDER has the release and plain_dialog.
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// A position where both dialogs show only their background.
bool IsPainted() {
  QScreen* screen = QGuiApplication::primaryScreen();
  const QPoint place = screen->geometry().center() + QPoint(-230, 120);
  const QImage seen = screen->grabWindow(0, place.x(), place.y(), 1, 1).toImage();
  return !seen.isNull() && seen.pixelColor(0, 0) == QColor(0x40, 0x40, 0x40);
}

double MillisecondsToPainted(const QString& program) {
  QProcess process;
  QElapsedTimer time;
  time.start();
  process.start(program, {});
  while (!IsPainted()) {
    if (time.elapsed() > 10'000) {
      std::printf("%s shows nothing\n", qPrintable(program));
      std::exit(1);
    }
  }
  const double taken = static_cast<double>(time.nsecsElapsed()) / 1e6;
  process.kill();
  process.waitForFinished();
  while (IsPainted()) continue;
  return taken;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  const QString folder = QString::fromLocal8Bit(argc > 1 ? argv[1] : ".");
  const QTemporaryDir home;
  qputenv("TSLY_HOME", home.path().toLocal8Bit());
  std::vector<double> own, plain;
  for (int round = 0; round < 20; ++round) {
    plain.push_back(MillisecondsToPainted(folder + QStringLiteral("/plain_dialog")));
    own.push_back(MillisecondsToPainted(folder + QStringLiteral("/tslyCheckNew")));
  }
  std::printf("start to painted: %.1f ms   a plain dialog: %.1f ms   ratio %.2f\n", Median(own), Median(plain),
              Median(own) / Median(plain));
}
