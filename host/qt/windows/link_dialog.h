// File > Live Link: where the live link listens, and who is connected. Main thread.
#pragma once

#include <QDialog>

#include "listeners.h"

class QCheckBox;
class QFormLayout;
class QLabel;
class QLineEdit;

namespace host {

class LiveLink;
class NumberField;
struct LinkChoice;

/// Not modal. Its switches work at once, and are kept for the next start.
class LinkDialog : public QDialog {
  Q_OBJECT
 public:
  /// `link` must outlive it.
  explicit LinkDialog(LiveLink& link, QWidget* parent = nullptr);

 private:
  void layOut();
  void addSwitches(QFormLayout& form);
  void addState(QFormLayout& form);
  QWidget* copied(QLineEdit* field, const char* name, const QString& tip);
  LinkChoice choice() const;
  void choose();
  void showState();

  LiveLink& link_;
  QCheckBox *listen_, *tcp_;
  NumberField* port_;
  QLineEdit *address_, *token_;
  QLabel *client_, *scene_, *update_, *trouble_;
  Subscription changed_;
};

} // namespace host
