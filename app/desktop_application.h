// The process as the desktop knows it: its name, its icon, and the system's own words in the user's language.
#pragma once

#include <QApplication>
#include <QTranslator>

namespace tsly {

class DesktopApplication {
 public:
  explicit DesktopApplication(char** arguments);

 private:
  int count_ = 1;  // the program's own switches are none of Qt's
  QApplication application_;
  QTranslator system_words_;
};

}  // namespace tsly
