// The page that the editor view shows while no scene is open. Main thread.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "c4d_filename.h"

class QVBoxLayout;

namespace host {

struct StartPageServices {
  std::function<void()> open;                   // asks for a file
  std::function<void()> openDemo;               // empty: there is no demo scene
  std::function<void(const Filename&)> openOne; // a recent file
};

/// "Drop a glTF file here, or open one", the demo scene and the recent files. It lies over its parent's
/// middle.
class StartPage : public QWidget {
  Q_OBJECT
 public:
  StartPage(StartPageServices services, QWidget* parent);
  void setRecent(const std::vector<Filename>& files);
  /// Puts it in the middle of its parent.
  void settle();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  StartPageServices services_;
  QVBoxLayout* recent_;
};

} // namespace host
