// Render > Render on the Farm: the wishes of a job. Main thread.
#pragma once

#include <QDialog>

#include "farm_desk.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace host {

class NumberField;
class Session;

/// Not modal. The fields begin with the document's values each time that it is opened; those of Slurm are
/// kept in the preferences.
class FarmDialog : public QDialog {
  Q_OBJECT
 public:
  FarmDialog(Session& session, farm::FarmDesk& desk, QWidget* parent = nullptr);

  /// Takes frames, size, camera and samples from the open document.
  void fill();
  farm::FarmOrder order() const;

 signals:
  /// A job was handed to Slurm.
  void submitted();

 protected:
  void reject() override; // cancels a submission first

 private:
  void addWork(QFormLayout& form);
  void addSlurm(QFormLayout& form);
  void layOut();
  void chooseOutput();
  void submit();
  void submissionEnded(const std::string& error);
  void say(const QString& text, bool error);
  void showState();
  void keep() const;
  void takeKept();

  Session& session_;
  farm::FarmDesk& desk_;
  QLineEdit* output_;
  QComboBox *kind_, *camera_;
  NumberField *from_, *to_, *step_, *parts_, *columns_, *rows_, *width_, *height_, *samples_, *chunk_;
  QLineEdit *partition_, *account_, *memory_, *time_, *others_, *program_;
  QCheckBox *overwrite_, *withoutMissing_;
  QWidget *partsRow_, *tilesRow_;
  QLabel *note_, *message_;
  QPushButton *submit_, *cancel_;
  Subscription changed_;
};

} // namespace host
