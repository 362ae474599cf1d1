// Help > About. Main thread.
#pragma once

#include <QDialog>

namespace host {

class AboutDialog : public QDialog {
  Q_OBJECT
 public:
  explicit AboutDialog(QWidget* parent = nullptr);
};

/// "1.0.0".
QString studioVersion();

} // namespace host
