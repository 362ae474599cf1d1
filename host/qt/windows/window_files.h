// Opening and saving as the main window does it: file choosers, questions, errors and the progress box of the
// session's files. Main thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include "session.h"

class QProgressDialog;
class QWidget;

namespace host {

class QtUserInterface;

class WindowFiles : public QObject {
  Q_OBJECT
 public:
  /// Answers the questions of the session's files with boxes over `window`. All must outlive `shutDown`.
  WindowFiles(Session& session, QtUserInterface& ui, QWidget& window);
  ~WindowFiles() override;

  /// Opens a file that was dropped, named or chosen.
  void open(const Filename& file);
  void openRecent(const Filename& file);
  void chooseAndOpen();
  void saveAs();
  void savePacked();

  /// No question and no box from now on.
  void shutDown();

 signals:
  /// A scene was opened, with this many notes on the console.
  void noted(int count);

 private:
  void askQuestions();
  void printNotes();
  void showActivity();
  QProgressDialog* makeProgress();

  Session& session_;
  QtUserInterface& ui_;
  QWidget& window_;
  QPointer<QProgressDialog> progress_;
  QTimer progressLate_;
  bool userLoads_ = false; // the load was asked for here
  Subscription changed_, replaced_;
};

} // namespace host
