#include "editor_view.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "program.h"
#include "view_display.h"
#include "view_navigator.h"
#include "view_picking.h"

namespace host {

namespace {

using Steady = std::chrono::steady_clock;

constexpr int longestSide = 16384; // logical pixels

// Existing views, closed at the program's end.
std::vector<EditorView*>& liveViews() {
  static std::vector<EditorView*> views;
  return views;
}

} // namespace

EditorView::EditorView(EditorViewServices services)
    : display_(std::make_unique<ViewDisplay>(std::move(services))),
      navigator_(std::make_unique<ViewNavigator>(*display_, this)) {
  static const bool once = [] {
    addShutdownStep(ShutdownStage::closeDialogs, [] {
      for (EditorView* view : liveViews())
        view->display_->close();
    });
    return true;
  }();
  (void)once;
  liveViews().push_back(this);
  repaintSoon();
}

EditorView::~EditorView() {
  std::erase(liveViews(), this);
}

void EditorView::resize(int width, int height, double pixelRatio) {
  display_->width = std::clamp(width, 0, longestSide);
  display_->height = std::clamp(height, 0, longestSide);
  display_->ratio = pixelRatio > 0 && std::isfinite(pixelRatio) ? std::clamp(pixelRatio, 0.25, 8.0) : 1;
  display_->syncArea();
  display_->requestPicture(false);
}

int EditorView::width() const noexcept {
  return display_->width;
}

int EditorView::height() const noexcept {
  return display_->height;
}

double EditorView::pixelRatio() const noexcept {
  return display_->ratio;
}

const ViewImage& EditorView::image() const noexcept {
  return display_->image;
}

ViewDetail EditorView::detail() const noexcept {
  return display_->detail;
}

std::vector<ViewText> EditorView::texts() const {
  std::vector<ViewText> texts;
  const BaseDraw* draw = display_->view();
  if (!draw || display_->width < 1 || display_->height < 1) return texts;
  const ViewCamera eye = viewCameraOf(*draw);
  const BaseObject* through = draw->GetSceneCamera(nullptr);
  const String locked = display_->isCameraLocked() ? String(" (locked)") : String();
  texts.push_back({display_->width - 10.0, 8, ViewText::Anchor::topRight,
                   through            ? through->GetName() + locked
                   : eye.orthographic ? String("Parallel")
                                      : String("Perspective")});
  if (eye.width < 120 || eye.height < 120) return texts;
  const Tripod tripod = tripodOf(eye);
  const char* const letters[] = {"X", "Y", "Z"};
  for (std::size_t i = 0; i < 3; ++i) {
    const double dx = tripod.ends[i][0] - tripod.x, dy = tripod.ends[i][1] - tripod.y;
    const double length = std::hypot(dx, dy), further = length > 1 ? 1 + 9 / length : 1;
    texts.push_back({tripod.x + dx * further, tripod.y + dy * further, ViewText::Anchor::center, letters[i]});
  }
  return texts;
}

void EditorView::repaintSoon() {
  display_->requestPicture(true);
}

void EditorView::repaintNow() {
  display_->repaintNow();
}

bool EditorView::drawViews(LONG flags) {
  if (flags == DRAWFLAGS_ACTIVE_VIEW_NOW)
    repaintNow();
  else if (flags == DRAWFLAGS_ALL_VIEWS_SOON)
    repaintSoon();
  else
    return false;
  return true;
}

bool EditorView::mousePress(const ViewMouse& mouse) {
  return navigator_->press(mouse);
}

bool EditorView::mouseMove(const ViewMouse& mouse) {
  return navigator_->move(mouse);
}

bool EditorView::mouseRelease(const ViewMouse& mouse) {
  return navigator_->release(mouse);
}

bool EditorView::wheel(double x, double y, double notches, const ViewKeys& keys) {
  return navigator_->wheel(x, y, notches, keys);
}

bool EditorView::cancelNavigation() {
  return navigator_->cancel();
}

LONG EditorView::cursorAt(double x, double y) {
  if (isNavigating()) return MOUSE_MOVE;
  if (!display_->ready()) return MOUSE_NORMAL;
  const ViewRect frame = display_->frame();
  const LONG asked =
      frame.contains(x, y) ? display_->hooks.cursor(*display_->view(), x - frame.left, y - frame.top) : 0;
  return asked ? asked : MOUSE_NORMAL;
}

bool EditorView::isNavigating() const noexcept {
  return navigator_->isNavigating();
}

bool EditorView::inDrag() const noexcept {
  return display_->hooks.inDrag();
}

BaseObject* EditorView::objectAt(double x, double y) const {
  return host::objectAt(*display_, x, y);
}

std::optional<Vector> EditorView::pointAt(double x, double y) const {
  return display_->ready() ? pointUnder(*display_, x, y) : std::nullopt;
}

std::vector<BaseObject*> EditorView::objectsIn(double x0, double y0, double x1, double y1) const {
  return host::objectsIn(*display_, x0, y0, x1, y1);
}

void EditorView::frameAll() {
  navigator_->frameObjects(false);
}

void EditorView::frameSelected() {
  navigator_->frameObjects(true);
}

void EditorView::lookThrough(BaseObject* camera) {
  if (!display_->ready()) return;
  cancelNavigation();
  display_->view()->SetSceneCamera(camera);
  navigator_->cameraMoved();
}

BaseObject* EditorView::camera() const {
  return display_->camera();
}

bool EditorView::finishPicture(int milliseconds) {
  const auto deadline = Steady::now() + std::chrono::milliseconds(milliseconds);
  if (!display_->painter) return false;
  display_->submit(true);
  while (display_->painter->wait(deadline)) {
    display_->deliver();
    if (!display_->painter || display_->painter->idle()) {
      // The delivery itself may have asked for another picture.
      if (!display_->picturePosted()) return true;
      display_->submit(true);
    }
  }
  return false;
}

EditorView::Stats EditorView::stats() const {
  Stats stats;
  stats.mainSeconds = display_->mainSeconds;
  if (!display_->painter) return stats;
  const ViewPainter::Counts counts = display_->painter->counts();
  stats.pictures = counts.pictures;
  stats.views = counts.views;
  stats.finished = counts.finished;
  stats.cancelled = counts.cancelled;
  stats.scenes = counts.scenes;
  return stats;
}

} // namespace host
