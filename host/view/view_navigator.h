// The mouse in an editor view: scene hooks, then navigation, then picking. Main thread.
#pragma once

#include "view_display.h"

namespace host {

class ViewNavigator {
 public:
  enum class Gesture { none, orbit, pan, dolly };

  /// The display must outlive it. `owner` stands for the view while a box or a drag is open.
  ViewNavigator(ViewDisplay& display, const void* owner);

  // Input and commands as in `EditorView`.
  bool press(const ViewMouse& mouse);
  bool move(const ViewMouse& mouse);
  bool release(const ViewMouse& mouse);
  bool wheel(double x, double y, double notches, const ViewKeys& keys);
  bool cancel();
  bool isNavigating() const { return navigation_.gesture != Gesture::none; }
  void frameObjects(bool activeOnly);

  /// Reports a moved or chosen camera and paints soon. `lookAgain`: other things may have moved with it.
  void cameraMoved(bool lookAgain = false);

 private:
  struct Navigation {
    Gesture gesture = Gesture::none;
    double x = 0, y = 0; // where it began
    Matrix camera;       // as it was
    double half = 1;     // orthographic: half its height as it was
    ViewCamera view;
    Vector pivot;
    Identity object = 0; // the camera
    bool moved = false;
  };
  struct Click {
    bool held = false;
    double x = 0, y = 0;
  };

  bool startGesture(const ViewMouse& mouse);
  void moveGesture(double x, double y, bool finished);
  void setCamera(const Matrix& world, bool finished);
  void setHalfHeight(double half, bool finished);
  void pick(double x, double y, bool add);
  void selectHere(BaseObject* object, bool add);

  ViewDisplay& display_;
  const void* owner_;
  Navigation navigation_;
  Click click_;
  MouseButton swallowed_ = MouseButton::none; // its release belongs to a drag that is over
};

} // namespace host
