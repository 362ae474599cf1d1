// The editor view without a window system: shows the active document, navigates by mouse, offers input to
// scene hooks, picks objects, and paints on background threads. A desktop forwards input, blits `image()`
// when `present` is called and draws `texts()` over it. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "c4d_math.h"
#include "main_loop.h"
#include "view_image.h"
#include "view_input.h"
#include "view_rays.h"

class BaseObject;

namespace host {

class ViewDisplay;
class ViewNavigator;

/// Services of the program for a view. Every function may be empty; none may destroy the view.
struct EditorViewServices {
  /// Shades and picks; null: the view shows only grid and symbols. Must outlive the view.
  ViewTracer* tracer = nullptr;

  /// Shows `image()` and `texts()`, which have changed. Called from the main loop as painting, and before
  /// `repaintNow` returns.
  std::function<void()> present;

  /// Waits for the next input of a scene hook's drag and writes it. A desktop runs a local event loop, for at
  /// most about 10 ms so that the hook's loop keeps running, and does not pass this input to the view. False:
  /// the mouse is lost, which ends the drag. Empty: drags end at once.
  std::function<bool(DragEvent&)> pumpDrag;

  /// Moves a camera of the document as an edit that can be undone. One move is one undo step; `finished` is
  /// true for its last matrix. A turn of the wheel is one finished step. Empty: cameras of the document
  /// cannot be moved here.
  std::function<void(BaseObject& camera, const Matrix& world, bool finished)> moveCamera;

  /// The same for an orthographic camera's visible height; half of it, in metres. Empty: it cannot be
  /// changed.
  std::function<void(BaseObject& camera, double halfHeight, bool finished)> zoomCamera;

  /// The user picked an object (null: the background). `add`: toggles it in the selection. Empty: the view
  /// changes the selection itself.
  std::function<void(BaseObject* object, bool add)> select;

  /// Marks drawing of the view, in the background or by scene hooks: the result lives for that long. Any
  /// thread.
  std::function<std::shared_ptr<void>()> drawing;

  /// Notifies plug-ins (EventAdd) of a moved or another camera, also during a move.
  std::function<void()> viewChanged;
};

/// The quality of a picture so far.
enum class ViewDetail { none, coarse, full, smooth };

class EditorView final {
 public:
  explicit EditorView(EditorViewServices services);
  ~EditorView(); // ends its painting; destroys the document's scene hooks
  EditorView(const EditorView&) = delete;
  EditorView& operator=(const EditorView&) = delete;

  /// Sets the size in logical pixels, and the device pixels per logical pixel. The frame, in which scene
  /// hooks draw and get the mouse, is the part that the render format covers; the rest is darkened. A side
  /// below 1 paints nothing; at most 16384 device pixels per side are painted.
  void resize(int width, int height, double pixelRatio = 1);
  int width() const noexcept;
  int height() const noexcept;
  double pixelRatio() const noexcept;

  /// The picture with everything but the texts. It can have an earlier size, and is empty at first. Valid
  /// until `present` or the next call of the view.
  const ViewImage& image() const noexcept;
  ViewDetail detail() const noexcept;
  std::vector<ViewText> texts() const;

  /// Looks at the document again and paints in the background. Cheap; calls coalesce. Scene-changed events do
  /// the same; changes during a box or a drag, and of the selection, need this call.
  void repaintSoon();
  /// Redraws the scene hooks' overlay and calls `present`; a new picture follows.
  void repaintNow();
  /// Serves a plug-in's DrawViews; false for flags without a meaning here.
  bool drawViews(LONG flags);

  // Input. True: used.

  /// In this order: scene hooks, then navigation (Alt with the left, middle, right button, or 1, 2, 3 held
  /// with the left one: orbit, pan, dolly; the middle one alone pans), then picking, which happens at the
  /// release of a left click that did not move. Shift or Ctrl adds.
  bool mousePress(const ViewMouse& mouse);
  bool mouseMove(const ViewMouse& mouse);
  bool mouseRelease(const ViewMouse& mouse);
  /// Scene hooks, then dolly towards the point under the pointer. A notch of the wheel is 1, away is
  /// positive.
  bool wheel(double x, double y, double notches, const ViewKeys& keys);
  /// The cursor: MOUSE_MOVE during navigation, else the code that a scene hook asks for, else MOUSE_NORMAL.
  LONG cursorAt(double x, double y);
  /// Cancels and reverts a running navigation, as Escape does. False without one.
  bool cancelNavigation();
  bool isNavigating() const noexcept;
  /// Whether a scene hook runs a drag.
  bool inDrag() const noexcept;

  /// The object under a position: symbols of lights and cameras first; null for none, or while the first
  /// picture of a scene is still being prepared.
  BaseObject* objectAt(double x, double y) const;
  /// The point of a surface under a position; nothing over the background, or while the first picture of a
  /// scene is still being prepared.
  std::optional<Vector> pointAt(double x, double y) const;
  /// The objects with a vertex in a rectangle (bounds inclusive, corners in any order), occluded ones too,
  /// and the lights and cameras with their sign in it; in document order, each once. Floors have no vertices.
  std::vector<BaseObject*> objectsIn(double x0, double y0, double x1, double y1) const;

  // Commands.

  void frameAll();
  /// Frames the active objects with their descendants; everything when nothing is active.
  void frameSelected();
  /// Looks through a camera of the document; null: the view's own.
  void lookThrough(BaseObject* camera);
  /// The camera that the view looks through; null without a document.
  BaseObject* camera() const;

  /// Waits until the final picture has been delivered; runs only painting while it waits. For tests,
  /// screenshots and benchmarks. False at the deadline.
  bool finishPicture(int milliseconds = 60000);

  /// Counts of painting since the view was created.
  struct Stats {
    long pictures = 0;      // delivered, of any detail
    long views = 0;         // of these, the first of a new camera, scene or size
    long finished = 0;      // of these, smooth
    long cancelled = 0;     // cancelled for a newer camera or scene
    long scenes = 0;        // snapshots taken
    double mainSeconds = 0; // of the main thread, in the view's own painting code
  };
  Stats stats() const;

 private:
  std::unique_ptr<ViewDisplay> display_;
  std::unique_ptr<ViewNavigator> navigator_;
};

} // namespace host
