// Input of a view, without a window system. Positions are logical pixels from the view's upper left corner.
#pragma once

namespace host {

enum class MouseButton { none, left, middle, right };

/// What is held on the keyboard.
struct ViewKeys {
  bool alt = false, ctrl = false, shift = false;
  int digit = 0; // 1, 2 or 3 while that key is held: orbit, pan, dolly with the left button
};

struct ViewMouse {
  double x = 0, y = 0;
  MouseButton button = MouseButton::none; // the one that went down or up; while moving: the one that is held
  ViewKeys keys;
  bool doubleClick = false;
};

/// What happens while a scene hook follows the mouse.
struct DragEvent {
  enum class Kind { none, move, release, escape };
  Kind kind = Kind::none; // none: time passed
  double x = 0, y = 0;    // move, release
  ViewKeys keys;
};

} // namespace host
