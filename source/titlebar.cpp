#include "titlebar.h"

#include "lm_version.h"

namespace {

constexpr LONG HEIGHT = 24;
constexpr LONG CAP = 10;       // width of an end cap
constexpr LONG INTERVAL = 100; // milliseconds between two checks of the pointer

// Indices of the pictures.
enum : LONG { T_CNTR, T_CAPS, NAME_A, NAME_B, T_LEFT, HELP_A, HELP_B, HOME_A, HOME_B, T_RGHT };

const char* const FILES[] = {"t_cntr.tif", "t_caps.tif", "name_a.tif", "name_b.tif", "t_left.tif",
                             "help_a.tif", "help_b.tif", "home_a.tif", "home_b.tif", "t_rght.tif"};

} // namespace

titlebarUA::titlebarUA() {
  for (BaseBitmap*& picture : pictures)
    picture = BaseBitmap::Alloc();
}

titlebarUA::~titlebarUA() {
  for (BaseBitmap*& picture : pictures) {
    if (picture) BaseBitmap::Free(picture);
  }
}

Bool titlebarUA::Init() {
  for (const BaseBitmap* picture : pictures) {
    if (!picture) return FALSE;
  }
  const Filename folder = GeGetPluginPath() + "res" + "gui";
  for (LONG index = 0; index < PICTURES; ++index) {
    if (pictures[index]->Init(folder + FILES[index]) != IMAGERESULT_OK) return FALSE;
  }
  SetPieces();
  tracking = 0;
  hover = -1;
  return TRUE;
}

void titlebarUA::SetPieces() {
  const auto set = [this](LONG index, LONG x, LONG pieceWidth, LONG picture, LONG hoverable) {
    Piece piece;
    piece.x = x;
    piece.width = pieceWidth;
    piece.picture = picture;
    piece.hoverable = hoverable;
    pieces[index] = piece;
  };
  const auto w = [this](LONG picture) { return pictures[picture]->GetBw(); };
  const Filename docs = GeGetPluginPath() + "docs";
  const Filename manual = docs + "lm_manual.pdf";

  set(0, 0, CAP, T_CAPS, FALSE);
  set(1, 1, w(NAME_A), NAME_A, TRUE); // overlaps the left cap
  set(2, pieces[1].x + pieces[1].width, w(T_LEFT), T_LEFT, FALSE);
  set(3, pieces[2].x + pieces[2].width, 0, T_CNTR, FALSE); // reaches past the right edge
  // Laid out from the right edge leftward, over the centre.
  set(4, -CAP, CAP, T_CAPS, FALSE);
  set(5, -CAP - w(HELP_A), w(HELP_A), HELP_A, GeFExist(manual));
  set(6, pieces[5].x - CAP, CAP, T_CAPS, FALSE);
  set(7, pieces[6].x - w(HOME_A), w(HOME_A), HOME_A, TRUE);
  set(8, pieces[7].x - w(T_RGHT), w(T_RGHT), T_RGHT, FALSE);

  pieces[1].message = "Lumenara v" + GetVersionString();
  pieces[5].file = manual;
  pieces[7].file = docs + "lumenara.html"; // the product's page
}

Bool titlebarUA::GetMinSize(LONG& w, LONG& h) {
  w = 240;
  h = HEIGHT;
  return TRUE;
}

void titlebarUA::Sized(LONG w, LONG) {
  width = w;
}

void titlebarUA::DrawMsg(LONG, LONG, LONG, LONG, const BaseContainer&) {
  OffScreenOn();
  for (LONG index = 0; index < PIECES; ++index) {
    const Piece& piece = pieces[index];
    const Bool hovered = piece.hoverable && index == hover;
    const BaseBitmap* picture = pictures[piece.picture + (hovered ? 1 : 0)];
    DrawBitmap(picture, GetX(piece), 0, GetPieceWidth(piece), HEIGHT, 0, 0, picture->GetBw(), HEIGHT,
               BMP_NORMAL);
  }
}

LONG titlebarUA::FindPiece(LONG x, LONG y) const {
  if (y <= 0) return -1;
  for (LONG index = 0; index < PIECES; ++index) {
    const Piece& piece = pieces[index];
    const LONG left = GetX(piece);
    if (piece.hoverable && left < x && x < left + GetPieceWidth(piece)) return index;
  }
  return -1;
}

Bool titlebarUA::GetMouse(LONG& x, LONG& y) const {
  BaseContainer state;
  if (!GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, state)) return FALSE;
  x = static_cast<LONG>(state.GetReal(BFM_INPUT_X));
  y = static_cast<LONG>(state.GetReal(BFM_INPUT_Y));
  return Global2Local(&x, &y);
}

void titlebarUA::MouseMove(LONG x, LONG y) {
  const LONG found = y < HEIGHT ? FindPiece(x, y) : -1;
  if (found == hover) return;
  hover = found;
  Redraw();
}

void titlebarUA::MouseOut() {
  hover = -1;
  Redraw();
}

void titlebarUA::MouseDown(LONG x, LONG y) {
  if (y > HEIGHT - 1) return;
  const LONG hit = FindPiece(x, y);
  if (hit == -1) return;
  const Piece& piece = pieces[hit];
  if (piece.message.Content()) {
    MessageDialog(piece.message);
  } else if (piece.address.Content()) {
    GeOpenHTML(piece.address);
  } else {
    GeExecuteFile(piece.file);
  }
}

Bool titlebarUA::InputEvent(const BaseContainer& msg) {
  if (msg.GetLong(BFM_INPUT_DEVICE) != BFM_INPUT_MOUSE) return FALSE;
  if (msg.GetLong(BFM_INPUT_CHANNEL) == BFM_INPUT_MOUSELEFT) {
    LONG x = static_cast<LONG>(msg.GetReal(BFM_INPUT_X));
    LONG y = static_cast<LONG>(msg.GetReal(BFM_INPUT_Y));
    Global2Local(&x, &y);
    MouseDown(x, y);

    BaseContainer action(BFM_ACTION);
    action.SetLong(BFM_ACTION_ID, GetId());
    action.SetLong(BFM_ACTION_VALUE, 0);
    action.SetLong(BFM_ACTION_INDRAG, 0);
    SendParentMessage(action);
  }
  return TRUE;
}

LONG titlebarUA::Message(const BaseContainer& msg, BaseContainer& result) {
  if (msg.GetId() == BFM_SIZED) Redraw();
  LONG x = 0, y = 0;
  if (msg.GetId() == BFM_GETCURSORINFO && GetMouse(x, y)) {
    MouseMove(x, y);
    if (0 < x && x < width && 0 < y && y < HEIGHT && !tracking) {
      tracking = 1;
      SetTimer(INTERVAL);
    }
  }
  return GeUserArea::Message(msg, result);
}

void titlebarUA::Timer(const BaseContainer&) {
  LONG x = 0, y = 0;
  if (!GetMouse(x, y)) return;
  // Unlike the hit test, these bounds include the right and lower edges.
  if (x >= 0 && y >= 0 && x <= width && y < HEIGHT + 1) return;
  hover = -1;
  tracking = 0;
  MouseOut();
  SetTimer(0);
}
