// The picture of an editor view: keeps up with the active document, asks the painter for pictures, lays over
// them what scene hooks draw, and offers input to the hooks. Main thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "c4d_events.h"
#include "editor_view.h"
#include "lifetime.h"
#include "scene_hooks.h"
#include "view_camera.h"
#include "view_painter.h"

namespace host {

/// Logical pixels of the view; right and bottom lie behind the last one.
struct ViewRect {
  LONG left = 0, top = 0, right = 0, bottom = 0;
  bool contains(double x, double y) const { return x >= left && y >= top && x < right && y < bottom; }
};

class ViewDisplay final : public CoreListener {
 public:
  explicit ViewDisplay(EditorViewServices wanted);
  ~ViewDisplay();
  ViewDisplay(const ViewDisplay&) = delete;
  ViewDisplay& operator=(const ViewDisplay&) = delete;

  void coreMessage(LONG id, const BaseContainer& message) override;
  /// Before the program's documents and plug-ins go; nothing is painted any more.
  void close();

  BaseDocument* document() const { return GetActiveDocument(); }
  BaseDraw* view() const; // of the document; null without one
  /// The camera that the view looks through; null without a document.
  BaseObject* camera() const;
  /// Whether that is the view's own camera, not one of the document.
  bool isOwnCamera() const;
  /// A camera of the document that moving the view leaves where it is.
  bool isCameraLocked() const;
  /// Brings hooks and area up to date. True: there is a document whose view has a size.
  bool ready();
  void syncArea();
  /// Needs a document.
  ViewRect frame() const;

  /// Paints soon. `lookAgain`: the document may have changed.
  void requestPicture(bool lookAgain);
  bool picturePosted() const { return submitPosted_; }
  /// Hands a job to the painter. `force`: looks at a changed document even when that was done just before.
  void submit(bool force = false);
  /// Takes the painter's latest picture, if there is a new one.
  void deliver();
  void repaintNow();

  /// Hooks get what happens inside of the frame.
  SceneHooks::Input offerToHooks(const void* owner, LONG channel, LONG value, const ViewMouse& mouse);

  /// The scene of the latest picture; null before the first.
  const ViewScene* scene() const { return scene_.get(); }
  /// Null as well when the document may have changed since.
  const ViewScene* currentScene() const { return lookAgain_ ? nullptr : scene_.get(); }
  const std::vector<ViewSymbol>& symbols() const { return symbols_; }

  EditorViewServices services;
  std::function<void()> documentChanged; // another document became the active one
  int width = 0, height = 0;
  double ratio = 1;
  ViewImage image;
  ViewDetail detail = ViewDetail::none;
  std::unique_ptr<ViewPainter> painter; // null once closed
  SceneHooks hooks;
  double mainSeconds = 0;

 private:
  /// Measures the main thread's time in the view's own code; nested calls count once.
  class Measured {
   public:
    explicit Measured(ViewDisplay& display) : display_(display), start_(std::chrono::steady_clock::now()) {
      ++display_.measuring_;
    }
    ~Measured() {
      if (--display_.measuring_ > 0) return;
      display_.mainSeconds +=
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }
    Measured(const Measured&) = delete;
    Measured& operator=(const Measured&) = delete;

   private:
    ViewDisplay& display_;
    std::chrono::steady_clock::time_point start_;
  };

  void lookAtDocument(BaseDocument& document);
  PictureSetup setupOf(BaseDocument* document) const;
  Overlay drawnByHooks();
  void paintOverlay();
  void layOverlay();
  void refreshOverlay();

  const Lifetime<ViewDisplay> lifetime_{*this}; // for tasks that wait in the loop
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
