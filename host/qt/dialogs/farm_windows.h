// The windows of the farm, and the model that they share. Main thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

#include "farm_desk.h"

class QAction;
class QWidget;

namespace host {

class FarmDialog;
class FarmJobs;
class Session;

class FarmWindows : public QObject {
  Q_OBJECT
 public:
  /// The session must outlive this. `quit` ends the program; its key works in these windows, too.
  FarmWindows(Session& session, QWidget& window, QAction& quit);
  ~FarmWindows() override;

  void showDialog();
  void showJobs();

 signals:
  /// Pictures are to be opened in the Frame Buffer.
  void picturesWanted(const QStringList& files);

 private:
  FarmJobs& jobs();

  Session& session_;
  QWidget& window_;
  QAction& quit_;
  farm::FarmDesk desk_;
  QPointer<FarmDialog> dialog_;
  QPointer<FarmJobs> jobs_;
};

} // namespace host
