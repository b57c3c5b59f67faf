// A small host product: has the updater check for updates at its start, shows each status, and closes for an update
// that can't be installed while it runs.
//
//   host_client [--updater PROGRAM] [--yes]
//     --updater  the updater's program; default: tslyCheckNew next to this one
//     --yes      agrees to an update without asking
#include <QApplication>
#include <QCommandLineParser>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QTextStream>
#include <QTime>
#include <QVBoxLayout>
#include <utility>

#include "updater_client.h"

namespace {

QString Meaning(int status) {
  switch (status) {
    case UpdaterClient::Pending:
      return QObject::tr("Status 0: a check is scheduled or running, or the updater shows the available updates.");
    case UpdaterClient::Idle:
      return QObject::tr("Status 1: finished: nothing new, no check due, or the dialog is closed.");
    case UpdaterClient::StopRequired:
      return QObject::tr("Status 2: there is an update that requires this program to close.");
    default:
      return QObject::tr("Status %1: written by a client.").arg(status);
  }
}

class HostWindow : public QWidget {
 public:
  HostWindow(QString updater, bool agrees) : updater_(std::move(updater)), agrees_(agrees) {
    setWindowTitle(QStringLiteral("Host product"));
    resize(560, 260);
    messages_.setWordWrap(true);
    messages_.setAlignment(Qt::AlignTop);
    messages_.setTextFormat(Qt::PlainText);
    auto* check = new QPushButton(tr("&Check for updates"));
    auto* settings = new QPushButton(tr("Updater &settings..."));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(&messages_, 1);
    layout->addWidget(check);
    layout->addWidget(settings);

    connect(check, &QPushButton::clicked, &client_, &UpdaterClient::VerifyVersion);
    connect(settings, &QPushButton::clicked, &client_, &UpdaterClient::ConfigureUpdater);
    connect(&client_, &UpdaterClient::Failed, this,
            [this](const QString& why) { Show(tr("No updater: %1").arg(why)); });
    connect(&client_, &UpdaterClient::StatusChanged, this, [this](int status) {
      Show(Meaning(status));
      if (status == UpdaterClient::StopRequired) OfferUpdate();
    });
    client_.VerifyVersion();
  }

 private:
  void Show(const QString& text) {
    const QString line = QTime::currentTime().toString(QStringLiteral("hh:mm:ss  ")) + text;
    messages_.setText(messages_.text() + line + u'\n');
    QTextStream(stdout) << line << Qt::endl;
  }

  // Starts the updater as a separate process that checks at once. It asks the user before it installs and then asks
  // this window to close, as a click on its close button would. Until then this program continues.
  void OfferUpdate() {
    const auto question = tr("An update is ready. It closes this program when you install it. Look at it now?");
    if (!agrees_ && QMessageBox::question(this, windowTitle(), question) != QMessageBox::Yes) return;
    const QString window = QStringLiteral("/window:%1").arg(winId(), 0, 16);  // the X11 window ID
    if (!QProcess::startDetached(updater_, {QStringLiteral("/showupdates"), window})) {
      Show(tr("%1 could not be started.").arg(updater_));
    }
  }

  UpdaterClient client_;
  QLabel messages_;
  QString updater_;
  bool agrees_;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QCommandLineParser arguments;
  arguments.addHelpOption();
  arguments.addOption({QStringLiteral("updater"), QStringLiteral("The updater's program."), QStringLiteral("program"),
                       QCoreApplication::applicationDirPath() + QStringLiteral("/tslyCheckNew")});
  arguments.addOption({QStringLiteral("yes"), QStringLiteral("Agree to an update without asking.")});
  arguments.process(application);
  HostWindow window(arguments.value(QStringLiteral("updater")), arguments.isSet(QStringLiteral("yes")));
  window.show();
  return QApplication::exec();
}
