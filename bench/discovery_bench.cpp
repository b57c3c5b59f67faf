// The cost of a search without the network: looking up to 20,000 modules in the real registry, their exclusions, and a
// list of 500 updates from the click until it is painted, compared with a plain list of as many labels.
#include <sqlite3.h>

#include <QApplication>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>
#include <cstdio>
#include <fstream>

#include "base/text.h"
#include "bench.h"
#include "support/http_server.h"

namespace tsly {
namespace {

std::string Module(int number) { return "Module " + std::to_string(number); }

// An updates file in which all modules are newer; with exclusions, every module excludes its neighbour.
std::string UpdatesFile(int modules, bool with_excludes) {
  std::string text = "[Versions]\r\n";
  for (int i = 0; i < modules; ++i) text += Module(i) + (with_excludes ? "=7.0.2.0\r\n" : "=7.0.1.0\r\n");
  text += "[Excludes]\r\n";
  for (int i = 0; with_excludes && i < modules; ++i) text += Module(i) + "=" + Module(i + 1) + "\r\n";
  return text;
}

// Writes the modules' recorded versions to the machine's settings in one go, unlike the program.
void RecordVersions(const std::filesystem::path& file, int modules) {
  const std::string key = LowerCase("hklm\\" + MRegistry::JoinRegPath(SettingsKey, VersionSubkey));
  std::string sql = "BEGIN;";
  for (int i = 0; i < modules; ++i) {
    const std::string name = "Version: " + Module(i);
    sql += "INSERT INTO vals VALUES('" + key + "', '" + LowerCase(name) + "', '" + name +
           "', 1, x'372e302e312e3000', NULL, NULL);";  // 7.0.1.0
  }
  sqlite3* database = nullptr;
  if (sqlite3_open(file.c_str(), &database) != SQLITE_OK ||
      sqlite3_exec(database, (sql + "COMMIT").c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    std::printf("the versions could not be recorded: %s\n", sqlite3_errmsg(database));
    std::exit(1);
  }
  sqlite3_close(database);
}

double Retrieve(int modules, bool with_excludes, int expected) {
  std::vector<double> times;
  for (int i = 0; i < 3; ++i) {
    BenchApp<UnattendedToolkit> app;
    HttpServer server;
    server.Expect(Reply(UpdatesFile(modules, with_excludes)));
    app.SetVersionValue(kValueVersionFileUrl, server.Url());
    RecordVersions(app.folder.NativePath("machine.sqlite"), modules);
    app.program.dialog.ShowTheResults();
    times.push_back(Seconds(app.toolkit.pointer_set - app.transfer.completed));
    const auto found = static_cast<int>(app.program.dialog.UpdateNames.size()) - 1;
    if (found != expected)
      std::printf("%d modules on offer, not %d: %s\n", found, expected, app.toolkit.last_message.c_str());
  }
  return Median(times);
}

void MeasureModules() {
  for (const bool with_excludes : {false, true}) {
    const double few = Retrieve(2000, with_excludes, with_excludes ? 1000 : 0);
    const double many = Retrieve(20000, with_excludes, with_excludes ? 10000 : 0);
    std::printf("RetrieveUpdates, %-22s 2,000: %6.3f s   20,000: %6.3f s   ratio %5.1f\n",
                with_excludes ? "one exclusion each:" : "no exclusions:", few, many, many / few);
  }
}

std::string Offer(int modules) {
  std::string text = "[Versions]\r\n";
  std::string texts = "[Localization - English]\r\n";
  for (int i = 0; i < modules; ++i) {
    text += Module(i) + "=1\r\n";
    texts += Module(i) + ":Description=Update " + std::to_string(i) + "\r\n" + Module(i) +
             ":Summary=Corrects the printing of double-sided cards, and a few words more so that the text wraps.\r\n";
  }
  return text + texts;
}

double SecondsOfPlainList(int items) {
  return SecondsOf([&] {
    QScrollArea area;
    auto* list = new QWidget;
    auto* layout = new QVBoxLayout(list);
    for (int i = 0; i < items * 4; ++i) {
      auto* label = new QLabel(QStringLiteral("Corrects the printing of double-sided cards, and a few words more."));
      label->setWordWrap(true);
      layout->addWidget(label);
    }
    area.setWidget(list);
    area.show();
    area.repaint();
    QCoreApplication::processEvents();
  });
}

// A started program whose search finds `modules` updates. Returns the seconds from the last state of the transfer until
// the list is painted.
double SecondsToPaint(BenchApp<QtToolkit>& app, int modules) {
  HttpServer server;
  server.Expect(Reply(Offer(modules)));
  app.SetVersionValue(kValueVersionFileUrl, server.Url());
  app.program.dialog.Show();
  app.loop.ProcessPendingEvents();
  app.program.dialog.ShowTheResults();
  app.toolkit.Refresh(app.program.dialog);
  app.loop.ProcessPendingEvents();
  return Seconds(std::chrono::steady_clock::now() - app.transfer.completed);
}

void MeasureList() {
  std::vector<double> times;
  std::vector<double> plain;
  for (int i = 0; i < 5; ++i) {
    plain.push_back(SecondsOfPlainList(500));
    BenchApp<QtToolkit> app;
    times.push_back(SecondsToPaint(app, 500));
  }
  std::printf("500 updates from the last state to the painted list: %6.3f s   a plain list: %6.3f s\n", Median(times),
              Median(plain));
}

// Until the list is painted, and until it is destroyed.
void MeasureLongOffer(int modules) {
  BenchApp<QtToolkit> app;
  const double shown = SecondsToPaint(app, modules);
  const double gone = SecondsOf([&] {
    app.program.dialog.Unload();
    app.program.dialog.controls.UpdateItem.UnloadAllButModel();
  });
  std::printf("%d updates painted after %.3f s, gone after %.3f s, peak %.0f MB\n", modules, shown, gone,
              PeakMegabytes());
}

}  // namespace
}  // namespace tsly

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  if (argc > 1) return tsly::MeasureLongOffer(std::atoi(argv[1])), 0;
  tsly::MeasureModules();
  tsly::MeasureList();
}
