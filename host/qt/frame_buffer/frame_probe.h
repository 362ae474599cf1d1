// Looking at the pixels of the Frame Buffer's picture: values, rectangles, picking. Main thread.
#pragma once

#include <QAction>
#include <QObject>

#include "film_picking.h"
#include "session.h"

namespace host {

class Film;
class FrameBuffer;
class PixelPanel;

/// Adds the panel Pixel, and selects in the scene what is clicked in the picture: its object, with Alt its
/// material.
class FrameProbe : public QObject {
  Q_OBJECT
 public:
  FrameProbe(Session& session, FrameBuffer& frame);

  PixelPanel& panel() { return *panel_; }
  void pick(const QPoint& pixel, PickTarget target);
  /// Focuses the camera of the picture on what the pixel shows.
  void pickFocus(const QPoint& pixel);

 private:
  std::shared_ptr<Film> filmAt(const QPoint& pixel) const;
  void setFocusing(bool on);
  void takeFilm();

  Session& session_;
  FrameBuffer& frame_;
  PixelPanel* panel_;
  QAction* focus_; // on: the next click picks the focus
};

} // namespace host
