// What stands behind EditorView: its state, and the parts that editor_painting.cpp, editor_navigation.cpp and
// editor_view.cpp implement. Main thread.
#pragma once

#include <chrono>

#include "c4d_events.h"
#include "editor_view.h"
#include "lifetime.h"
#include "scene_hooks.h"
#include "view_camera.h"
#include "view_painter.h"

namespace host {

enum class Gesture { none, orbit, pan, dolly };

/// Logical pixels of the view; right and bottom lie behind the last one.
struct ViewRect {
  LONG left = 0, top = 0, right = 0, bottom = 0;
  bool contains(double x, double y) const { return x >= left && y >= top && x < right && y < bottom; }
};

class EditorView::Self final : public CoreListener {
 public:
  explicit Self(EditorViewServices given);
  ~Self();
  Self(const Self&) = delete;
  Self& operator=(const Self&) = delete;

  // Everything that is a call of the program's own code in the view is measured.
  class Measured {
   public:
    explicit Measured(Self& self) : self_(self), start_(std::chrono::steady_clock::now()) {
      ++self_.measuring_;
    }
    ~Measured() {
      if (--self_.measuring_ == 0)
        self_.mainSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }
    Measured(const Measured&) = delete;
    Measured& operator=(const Measured&) = delete;

   private:
    Self& self_;
    std::chrono::steady_clock::time_point start_;
  };

  void coreMessage(LONG id, const BaseContainer& message) override;
  void close(); // before the program's documents and plug-ins go

  BaseDocument* document() const { return GetActiveDocument(); }
  BaseDraw* view() const;
  bool ready(); // a document with a view that has a size; its hooks and area are up to date
  void syncArea();
  ViewRect frame() const; // of a view that is there

  void requestPicture(bool lookAgain);
  bool picturePosted() const { return submitPosted_; }
  void submit(bool force = false);
  void lookAtDocument(BaseDocument& document);
  PictureSetup setupOf(BaseDocument* document) const;
  void deliver();
  Overlay drawnByHooks();
  SceneHooks::Input offerToHooks(const void* owner, LONG channel, LONG value, const ViewMouse& mouse);
  void paintOverlay();
  void layOverlay();
  void refreshOverlay();
  void repaintNow();

  ViewHit hitAt(double x, double y) const;
  std::optional<Vector> pointUnder(double x, double y) const;
  Vector pivotAt(double x, double y) const;
  BaseObject* objectAt(double x, double y) const;
  std::vector<BaseObject*> objectsIn(double x0, double y0, double x1, double y1) const;
  void pick(double x, double y, bool add);
  void selectHere(BaseObject* object, bool add);

  BaseObject* camera() const;
  bool isOwnCamera() const { return !view()->GetSceneCamera(nullptr); }
  void setCamera(const Matrix& world, bool finished);
  void setHalfHeight(double half, bool finished);
  void cameraMoved();
  bool startGesture(const ViewMouse& mouse);
  void moveGesture(double x, double y, bool finished);
  void frameObjects(bool activeOnly);

  EditorViewServices services;
  int width = 0, height = 0;
  double ratio = 1;
  ViewImage image;
  ViewDetail detail = ViewDetail::none;
  std::unique_ptr<ViewPainter> painter;
  SceneHooks hooks;
  double mainSeconds = 0;

  struct Navigation {
    Gesture gesture = Gesture::none;
    double x = 0, y = 0; // where it began
    Matrix camera;       // as it was
    double half = 1;     // orthographic: half its height as it was
    ViewCamera view;
    Vector pivot;
    Identity object = 0; // the camera
    bool moved = false;
  } navigation;
  struct Click {
    bool held = false;
    double x = 0, y = 0;
  } click;
  MouseButton swallowed = MouseButton::none; // its release belongs to a drag that is over

 private:
  const Lifetime<Self> lifetime_{*this}; // for tasks that wait in the loop
  bool open_ = true;
  bool lookAgain_ = true; // the document may have changed
  bool submitPosted_ = false;
  bool inOverlay_ = false;
  Identity lookedAt_ = 0; // the document that the view knows
  Milliseconds nextLook_ = 0;
  TimerId lookTimer_ = 0;
  std::vector<ViewSymbol> symbols_;
  std::shared_ptr<const std::unordered_set<Identity>> selection_;
  ViewScenePtr scene_;
  double gridStep_ = 1;
  Overlay overlay_;
  std::vector<PaintedPixel> painted_;
  int measuring_ = 0;
};

} // namespace host
