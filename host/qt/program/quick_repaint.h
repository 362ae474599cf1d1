// Viewers of plug-ins that show live changes sooner. Main thread.
#pragma once

#include <QObject>
#include <QTimer>

#include "live_link.h"

namespace host {

/// After each change that comes through the live link, has the visible areas of plug-ins painted every few
/// milliseconds for a short time, once a plug-in's render has begun. A plug-in that looks for new pixels ten
/// times a second would show ten views a second at most.
class QuickRepaint : public QObject {
  Q_OBJECT
 public:
  static constexpr int period = 20;    // milliseconds
  static constexpr int duration = 300; // after the last change

  explicit QuickRepaint(LiveLink& link, QObject* parent = nullptr);
  ~QuickRepaint() override;
  /// Begins, or goes on from now.
  void begin();
  bool isActive() const { return timer_.isActive(); }

 private:
  void look();
  void repaint();

  LiveLink& link_;
  Subscription changed_;
  QTimer timer_;
  std::size_t commits_ = 0;
  int left_ = 0;                   // periods
  unsigned long long renders_ = 0; // of plug-ins, when it began
};

} // namespace host
