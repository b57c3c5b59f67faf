// The desktop application: name, icon, and the toolkit's texts in the user's language.
#pragma once

#include <QApplication>
#include <QTranslator>

namespace tsly {

class DesktopApplication {
 public:
  explicit DesktopApplication(char** arguments);

 private:
  int count_ = 1;  // hides the program's own switches from Qt
  QApplication application_;
  QTranslator system_words_;
};

}  // namespace tsly
