#include "desktop_application.h"

#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>

namespace tsly {

DesktopApplication::DesktopApplication(char** arguments) : application_(count_, arguments) {
  QApplication::setApplicationName(QStringLiteral("tslyCheckNew"));
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/pictures/icon.png")));
  // Buttons of message boxes are in the language of the user's desktop.
  if (system_words_.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QApplication::installTranslator(&system_words_);
  }
}

}  // namespace tsly
