// The line at the Frame Buffer's lower edge. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>

#include "session.h"

class QLabel;
class QMenu;
class QProgressBar;
class QToolButton;

namespace host {

class ColorPatch;
struct FaultCount;

/// The pixel under the pointer; the running render, else the picture that is being saved, else a note; size
/// and zoom.
class FrameStatus : public QWidget {
  Q_OBJECT
 public:
  explicit FrameStatus(Session& session, QWidget* parent = nullptr);

  /// A pixel of a picture as it is on screen; null: no pixel.
  void showPixel(const BaseBitmap* bitmap, const QPoint& pixel, const QColor& seen);
  /// A sentence for some seconds, while nothing goes on.
  void say(const QString& sentence);
  /// Pixels that are no finite numbers.
  void showFaults(const FaultCount& faults);
  /// Null: no picture.
  void showSize(const BaseBitmap* bitmap);
  void showZoom(double zoom);

 signals:
  /// A zoom was chosen; 0: the whole picture.
  void zoomWanted(double zoom);

 private:
  QLabel* addLabel(const char* name);
  void addPixel();
  void addProgress();
  void addZoom();
  void showWork();
  void showSaving();

  Session& session_;
  ColorPatch* swatch_ = nullptr;
  QLabel *pixel_ = nullptr, *values_ = nullptr, *floats_ = nullptr, *progressText_ = nullptr,
         *faults_ = nullptr, *size_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QToolButton *stop_ = nullptr, *zoom_ = nullptr;
  QString said_;
  QTimer late_, forget_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
