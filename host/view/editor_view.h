// The editor view without a window system: it looks at the active document, is moved by the mouse, offers
// input to scene hooks, picks objects, and paints itself on background threads. A desktop forwards input,
// blits `image()` when `present` is called and draws `texts()` over it. Main thread, all of it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "main_loop.h"
#include "view_image.h"
#include "view_input.h"
#include "view_rays.h"

class BaseObject;

namespace host {

/// What a view needs of the program around it. Every function may be empty; none may destroy the view.
struct EditorViewServices {
  /// Shades and picks; null: only grid and symbols show. Must outlive the view.
  ViewTracer* tracer = nullptr;

  /// `image()` or `texts()` have changed: show them. Called from the main loop as painting, and before
  /// `repaintNow` returns; then they are to be on screen soon.
  std::function<void()> present;

  /// Waits for the next input while a scene hook follows the mouse (a desktop runs a local event loop, for at
  /// most some 10 ms so that the hook's loop turns), and writes it. False: there is no mouse any more, which
  /// ends the drag. The view must not get the input that is reported here. Empty: drags end at once.
  std::function<bool(DragEvent&)> pumpDrag;

  /// Moves a camera of the document as an edit that can be undone. `finished` is false while the move goes on
  /// (all of one move are one step) and true with its last matrix; a wheel turn is one finished step. Empty:
  /// cameras of the document cannot be moved here.
  std::function<void(BaseObject& camera, const Matrix& world, bool finished)> moveCamera;

  /// The same for the height that an orthographic camera shows: half of it in metres. Empty: it stays.
  std::function<void(BaseObject& camera, double halfHeight, bool finished)> zoomCamera;

  /// The user picked an object (null: the empty background). `add`: added to the selection, or taken out of
  /// it when it was selected. Empty: the view changes the selection itself.
  std::function<void(BaseObject* object, bool add)> select;

  /// What it gives lives while the view is drawn: its picture in the background, or what scene hooks draw.
  /// Any thread.
  std::function<std::shared_ptr<void>()> drawing;

  /// The camera was moved or another one chosen: plug-ins are to know (EventAdd). Also while a move goes on.
  std::function<void()> viewChanged;
};

/// How far a picture has come.
enum class ViewDetail { none, coarse, full, smooth };

class EditorView final {
 public:
  explicit EditorView(EditorViewServices services);
  ~EditorView(); // ends its painting; scene hooks of the document go
  EditorView(const EditorView&) = delete;
  EditorView& operator=(const EditorView&) = delete;

  /// The view's size in logical pixels and device pixels for each. Its frame, in which scene hooks draw and
  /// get the mouse, is the part that the render format covers; the rest is darkened. Sizes below 1 paint
  /// nothing. At most 16384 device pixels a side are painted.
  void resize(int width, int height, double pixelRatio = 1);
  int width() const noexcept;
  int height() const noexcept;
  double pixelRatio() const noexcept;

  /// The picture with everything drawn over it but the texts. It may still have an earlier size, and is empty
  /// at first. Valid until `present` or the next call of the view.
  const ViewImage& image() const noexcept;
  ViewDetail detail() const noexcept;
  std::vector<ViewText> texts() const;

  /// Looks at the document again and paints in the background. Cheap; calls coalesce. Scene-changed events do
  /// this by themselves; what happens while a box or a drag is open, and a changed selection, needs the call.
  void repaintSoon();
  /// Draws what scene hooks draw over the picture anew and calls `present`; the picture itself follows.
  void repaintNow();
  /// As a plug-in's DrawViews; false for flags that ask for nothing here.
  bool drawViews(LONG flags);

  // Input. True: used; false: nobody wanted it.

  /// In this order: scene hooks, then navigation (Alt with the left, middle, right button, or 1, 2, 3 held
  /// with the left one: orbit, pan, dolly; the middle one alone pans), then picking, which happens at the
  /// release of a left click that did not move. Shift or Ctrl adds.
  bool mousePress(const ViewMouse& mouse);
  bool mouseMove(const ViewMouse& mouse);
  bool mouseRelease(const ViewMouse& mouse);
  /// Scene hooks, then dolly towards the point under the pointer. A notch of the wheel is 1, away is
  /// positive.
  bool wheel(double x, double y, double notches, const ViewKeys& keys);
  /// Which pointer to show: the code a scene hook asked for (MOUSE_MOVE), else MOUSE_NORMAL. While the view
  /// itself navigates: MOUSE_MOVE.
  LONG cursorAt(double x, double y);
  /// Takes back a navigation that goes on, as Escape does. False when there is none.
  bool cancelNavigation();
  bool isNavigating() const noexcept;
  /// Whether a scene hook follows the mouse now.
  bool inDrag() const noexcept;

  /// The object under a position: symbols of lights and cameras first; null for none, or while the first
  /// picture of a scene is still being prepared.
  BaseObject* objectAt(double x, double y) const;
  /// The objects that show a vertex in a rectangle (ends included, either corner first), hidden ones too, and
  /// the lights and cameras whose signs lie in it; in document order, each once. Floors have no vertices.
  std::vector<BaseObject*> objectsIn(double x0, double y0, double x1, double y1) const;

  // Commands.

  void frameAll();
  /// Frames the active objects with what hangs below them; everything when nothing is active.
  void frameSelected();
  /// Looks through a camera of the document; null: the view's own.
  void lookThrough(BaseObject* camera);
  /// The camera that it looks through; null without a document.
  BaseObject* camera() const;

  /// Waits until the picture is as good as it gets and has been delivered. For tests, screenshots and
  /// benchmarks; runs only painting meanwhile. False at the deadline.
  bool finishPicture(int milliseconds = 10000);

  /// How much painting has been done, since the view was made.
  struct Stats {
    long pictures = 0;      // delivered, of any detail
    long views = 0;         // of these, the first of a new camera, scene or size
    long finished = 0;      // of these, smooth
    long cancelled = 0;     // given up for a newer camera or scene
    long scenes = 0;        // snapshots taken
    double mainSeconds = 0; // of the main thread, in the view's own painting code
  };
  Stats stats() const;

 private:
  class Self;
  std::unique_ptr<Self> self_;
};

} // namespace host
