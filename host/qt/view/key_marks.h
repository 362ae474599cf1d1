// The keys of the selected objects, on a ruler of frames: marks to drag, and their menu. Main thread.
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "key_edits.h"
#include "session.h"

namespace host {

class KeyMarks {
 public:
  /// `xOf`: logical pixels of a frame from the left edge of `ruler`.
  KeyMarks(Session& session, QWidget& ruler, std::function<double(double)> xOf);

  void paint(QPainter& painter) const;
  /// The frame of the mark at a place of the ruler.
  std::optional<long> frameAt(const QPointF& at) const;

  /// A drag: the key follows to whole frames; all of it is one undo step.
  void begin(long frame);
  void dragTo(long frame);
  void end();
  bool isDragged() const { return dragged_; }

  /// Linear, smooth, steps; delete. Belongs to the ruler and deletes itself.
  void showMenu(long frame, const QPoint& globalAt);

 private:
  Identities selection() const;

  Session& session_;
  QWidget& ruler_;
  std::function<double(double)> xOf_;
  HeldTracks held_;
  long from_ = 0, now_ = 0;
  bool dragged_ = false, ownEdit_ = false;
};

} // namespace host
