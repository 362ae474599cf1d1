// Input of a view, without a window system. Positions are logical pixels from the view's upper left corner.
#pragma once

namespace host {

enum class MouseButton { none, left, middle, right };

/// Keys held down.
struct ViewKeys {
  bool alt = false, ctrl = false, shift = false;
  int digit = 0; // 1, 2 or 3 while that key is held: orbit, pan, dolly with the left button
};

struct ViewMouse {
  double x = 0, y = 0;
  MouseButton button = MouseButton::none; // pressed or released; in a move: held
  ViewKeys keys;
  bool doubleClick = false;
};

/// An event of a scene hook's drag.
struct DragEvent {
  enum class Kind { none, move, release, escape };
  Kind kind = Kind::none; // none: time passed
  double x = 0, y = 0;    // move, release
  ViewKeys keys;
};

} // namespace host
