// The title bar of the plug-in's dialogs.
#pragma once

#include "c4d.h"

/// A user area across the top of a dialog, 24 pixels high: a row of nine pieces drawn from bitmaps. Three of
/// them are buttons with a hover picture: the product's name (shows the version), help (opens the manual) and
/// home (opens the product's web page). A timer removes the hover picture when the pointer leaves. Main
/// thread.
class titlebarUA : public GeUserArea {
 public:
  titlebarUA();
  ~titlebarUA() override;

  /// Loads the pictures from the plug-in's folder and sets up the pieces. Stops at the first picture that
  /// does not load and returns false.
  Bool Init() override;
  Bool GetMinSize(LONG& w, LONG& h) override;
  void Sized(LONG w, LONG h) override;
  void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg) override;
  Bool InputEvent(const BaseContainer& msg) override;
  void Timer(const BaseContainer& msg) override;
  LONG Message(const BaseContainer& msg, BaseContainer& result) override;

  virtual void MouseOut();
  virtual void MouseMove(LONG x, LONG y);
  virtual void MouseDown(LONG x, LONG y);

 private:
  static constexpr LONG PICTURES = 10;
  static constexpr LONG PIECES = 9;

  struct Piece {
    LONG x = 0;         // a negative one counts from the right edge: x + the area's width
    LONG width = 0;     // one below 1 is added to the area's width
    LONG picture = 0;   // index
    LONG hoverable = 0; // while hovered, the picture after it is drawn
    // Action of a click: the first that is not empty.
    String message;
    String address;
    Filename file;
  };

  LONG GetX(const Piece& piece) const { return piece.x < 0 ? piece.x + width : piece.x; }
  LONG GetPieceWidth(const Piece& piece) const { return piece.width < 1 ? piece.width + width : piece.width; }
  /// The first hoverable piece at the position, else -1. The edges of a piece and y = 0 do not hit.
  LONG FindPiece(LONG x, LONG y) const;
  /// The pointer's position in the area; false when it is unknown.
  Bool GetMouse(LONG& x, LONG& y) const;
  void SetPieces();

  BaseBitmap* pictures[PICTURES] = {};
  Piece pieces[PIECES];
  LONG width = 0;
  LONG tracking = 0; // 1 while the timer runs
  LONG hover = -1;   // the piece under the pointer
};
