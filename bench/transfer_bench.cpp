// Downloads one document with the program, from the request to the stored file:
//   transfer_bench URL        seconds to the last state, seconds of the saving steps, peak memory
//   transfer_bench --idle     processor use while waiting for a server that doesn't respond
#include <QApplication>
#include <cstdio>

#include "bench.h"
#include "support/http_server.h"

namespace tsly {
namespace {

void Fetch(const std::string& url) {
  BenchApp<UnattendedToolkit> app;
  app.SetVersionValue(kValueVersionFileUrl, url);
  app.program.dialog.ShowTheResults();
  const auto file = app.folder.NativePath("AppData") / "Quillon Systems" / "Tessaly Studio" / "updates.ini";
  std::printf("%.3f %.3f %.1f %llu\n", Seconds(app.transfer.completed - app.transfer.begun),
              Seconds(app.transfer.stored - app.transfer.completed), PeakMegabytes(),
              static_cast<unsigned long long>(std::filesystem::file_size(file)));
}

void WaitForSilence() {
  constexpr double kSeconds = 10;
  BenchApp<UnattendedToolkit> app;
  HttpServer server;
  server.Expect(Script().Receive().Stall());
  app.SetVersionValue(kValueVersionFileUrl, server.Url());
  double began = 0;
  app.loop.StartOneShot(&began, std::chrono::seconds(1), [&] { began = ProcessorSeconds(); });
  app.loop.StartOneShot(&server, std::chrono::milliseconds(1000 + static_cast<int>(1000 * kSeconds)), [&] {
    std::printf("waiting for a silent server: %.3f %% of a processor\n", 100 * (ProcessorSeconds() - began) / kSeconds);
  });
  app.program.dialog.ShowTheResults();
}

}  // namespace
}  // namespace tsly

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  const std::string argument = argc > 1 ? argv[1] : "";
  argument == "--idle" ? tsly::WaitForSilence() : tsly::Fetch(argument);
}
