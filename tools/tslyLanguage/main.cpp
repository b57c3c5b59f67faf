// Checks language files and creates new ones, for translators.
#include <QApplication>
#include <iostream>
#include <string>
#include <vector>

#include "base/text.h"
#include "edition.h"
#include "posix/system_clock.h"
#include "qt/qt_event_loop.h"
#include "qt/qt_toolkit.h"
#include "tslyLanguage/commands.h"

int main(int count, char** arguments) {
  qputenv("QT_QPA_PLATFORM", "offscreen");  // measures texts, shows no window
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});  // scripts parse the output
  int qt_arguments = 1;
  const QApplication application(qt_arguments, arguments);
  tsly::SystemClock clock;
  tsly::QtEventLoop loop(clock);
  tsly::QtToolkit toolkit(loop);
  tsly::SystemFolders folders(tsly::Home::FromEnvironment());
  const tsly::LanguageTool tool{
      .toolkit = toolkit,
      .english = tsly::NativePath(tsly::WithBackslash(folders.ProgramFolder()) + "Languages\\English.ini"),
      .out = std::cout,
      .error = std::cerr};
  const std::vector<std::string> words(arguments + (count > 0 ? 1 : 0), arguments + count);
  return static_cast<int>(tool.Run(words));
}
