// The cost of localization: files, language, skin, fonts and the dialog's texts, measured in the real font.
// language_bench LANGUAGE [ROUNDS]
#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "bench.h"

int main(int argc, char** argv) {
  using namespace tsly;
  const QApplication application(argc, argv);
  const std::string language = argc > 1 ? argv[1] : "English";
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 20;
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) {
    BenchApp<QtToolkit> app;
    app.program.dialog.Unload();
    app.profiles = IniReader();  // like a process that has read nothing yet
    app.program.registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, language);
    times.push_back(SecondsOf([&] { app.program.dialog.Load(); }));
    if (app.program.localization.GetLanguageInfo(0) != language || app.program.dialog.CheckLinkTexts.size() != 8) {
      std::printf("the dialog doesn't speak %s\n", language.c_str());
      return 1;
    }
  }
  std::printf("set-up and texts in %s: %.2f ms, the first time %.2f ms\n", language.c_str(), Median(times) * 1000,
              times.front() * 1000);
}
