#include "editor_view.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "editor_view_self.h"
#include "program.h"

namespace host {

namespace {

using Steady = std::chrono::steady_clock;

constexpr int longestSide = 16384; // logical pixels
constexpr double clickReach = 3;   // logical pixels that a click may move
constexpr double dollyPerNotch = 0.88;

LONG channelOf(MouseButton button) {
  switch (button) {
  case MouseButton::left:
    return BFM_INPUT_MOUSELEFT;
  case MouseButton::right:
    return BFM_INPUT_MOUSERIGHT;
  case MouseButton::middle:
    return BFM_INPUT_MOUSEMIDDLE;
  default:
    return 0;
  }
}

BaseContainer inputMessage(LONG channel, double x, double y, LONG value, const ViewKeys& keys) {
  BaseContainer message(BFM_INPUT);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetLong(BFM_INPUT_CHANNEL, channel);
  message.SetReal(BFM_INPUT_X, x);
  message.SetReal(BFM_INPUT_Y, y);
  message.SetLong(BFM_INPUT_VALUE, value);
  message.SetLong(BFM_INPUT_QUALIFIER, qualifierOf(keys));
  return message;
}

// Views that live, for the program's end.
std::vector<EditorView*>& liveViews() {
  static std::vector<EditorView*> views;
  return views;
}

} // namespace

// Hooks live in the frame: a press in the surround is not theirs, and what they get counts from its corner. A
// drag goes on outside.
SceneHooks::Input EditorView::Self::offerToHooks(const void* owner, LONG channel, LONG value,
                                                 const ViewMouse& mouse) {
  const ViewRect frame = this->frame();
  if (!frame.contains(mouse.x, mouse.y)) return {};
  BaseContainer message = inputMessage(channel, mouse.x - frame.left, mouse.y - frame.top, value, mouse.keys);
  if (mouse.doubleClick) message.SetLong(BFM_INPUT_DOUBLECLICK, 1);
  DragPump pump; // empty when the program has none
  if (services.pumpDrag)
    pump = [&](DragEvent& event) {
      if (!services.pumpDrag(event)) return false;
      event.x -= frame.left, event.y -= frame.top;
      return true;
    };
  return hooks.mouseInput(*view(), message, pump, owner);
}

EditorView::EditorView(EditorViewServices services) : self_(std::make_unique<Self>(std::move(services))) {
  static const bool once = [] {
    addShutdownStep(ShutdownStage::closeDialogs, [] {
      for (EditorView* view : liveViews())
        view->self_->close();
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
  self_->width = std::clamp(width, 0, longestSide);
  self_->height = std::clamp(height, 0, longestSide);
  self_->ratio = pixelRatio > 0 && std::isfinite(pixelRatio) ? std::clamp(pixelRatio, 0.25, 8.0) : 1;
  self_->syncArea();
  self_->requestPicture(false);
}

int EditorView::width() const noexcept {
  return self_->width;
}

int EditorView::height() const noexcept {
  return self_->height;
}

double EditorView::pixelRatio() const noexcept {
  return self_->ratio;
}

const ViewImage& EditorView::image() const noexcept {
  return self_->image;
}

ViewDetail EditorView::detail() const noexcept {
  return self_->detail;
}

std::vector<ViewText> EditorView::texts() const {
  std::vector<ViewText> texts;
  const BaseDraw* draw = self_->view();
  if (!draw || self_->width < 1 || self_->height < 1) return texts;
  const ViewCamera eye = viewCameraOf(*draw);
  const BaseObject* through = draw->GetSceneCamera(nullptr);
  texts.push_back({self_->width - 10.0, 8, ViewText::Anchor::topRight,
                   through            ? through->GetName()
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
  self_->requestPicture(true);
}

void EditorView::repaintNow() {
  self_->repaintNow();
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
  if (inDrag() || self_->navigation.gesture != Gesture::none || !self_->ready()) return false;
  self_->swallowed = MouseButton::none;
  const LONG channel = channelOf(mouse.button);
  if (channel == 0) return false;
  const SceneHooks::Input input = self_->offerToHooks(this, channel, 1, mouse);
  if (input.used) {
    if (!input.released) self_->swallowed = mouse.button;
    return true;
  }
  if (!self_->ready()) return true; // a hook may do anything
  if (self_->startGesture(mouse)) return true;
  if (mouse.button != MouseButton::left) return false;
  self_->click = {true, mouse.x, mouse.y};
  return true;
}

bool EditorView::mouseMove(const ViewMouse& mouse) {
  if (inDrag()) return false;
  auto& click = self_->click;
  if (click.held && std::hypot(mouse.x - click.x, mouse.y - click.y) > clickReach) click.held = false;
  if (self_->navigation.gesture == Gesture::none) return false;
  if (!self_->camera() || self_->camera()->GetIdentity() != self_->navigation.object) {
    self_->navigation = {}; // its camera has gone
    return false;
  }
  self_->moveGesture(mouse.x, mouse.y, false);
  return true;
}

bool EditorView::mouseRelease(const ViewMouse& mouse) {
  if (inDrag()) return false;
  if (self_->swallowed != MouseButton::none && self_->swallowed == mouse.button) {
    self_->swallowed = MouseButton::none;
    return true;
  }
  if (self_->navigation.gesture != Gesture::none) {
    const BaseObject* camera = self_->camera();
    if (camera && camera->GetIdentity() == self_->navigation.object)
      self_->moveGesture(mouse.x, mouse.y, true);
    self_->navigation = {};
    return true;
  }
  const bool clicked = std::exchange(self_->click.held, false);
  if (!clicked || mouse.button != MouseButton::left || !self_->ready()) return false;
  self_->pick(mouse.x, mouse.y, mouse.keys.ctrl || mouse.keys.shift);
  return true;
}

bool EditorView::wheel(double x, double y, double notches, const ViewKeys& keys) {
  if (inDrag() || notches == 0 || !std::isfinite(notches) || !self_->ready()) return false;
  const auto value = static_cast<LONG>(std::lround(std::clamp(notches, -1000.0, 1000.0) * 120));
  const ViewMouse at{x, y, MouseButton::none, keys, false};
  if (self_->offerToHooks(this, BFM_INPUT_MOUSEWHEEL, value, at).used) return true;
  if (!self_->ready() || self_->navigation.gesture != Gesture::none) return true;
  const double factor = std::pow(dollyPerNotch, std::clamp(notches, -50.0, 50.0));
  const ViewCamera eye = viewCameraOf(*self_->view());
  if (eye.orthographic) {
    self_->setHalfHeight(eye.half * eye.inner * factor, true);
    return true;
  }
  const auto under = self_->pointUnder(x, y);
  const double depth = eye.depthOf(self_->pivotAt(x, y));
  const Vector target = under ? *under : eye.pointAt(x, y, depth > 1e-6 ? depth : 1);
  self_->setCamera(navigate::dolly(self_->camera()->GetMg(), target, factor), true);
  return true;
}

LONG EditorView::cursorAt(double x, double y) {
  if (isNavigating()) return MOUSE_MOVE;
  if (!self_->ready()) return MOUSE_NORMAL;
  const ViewRect frame = self_->frame();
  const LONG asked =
      frame.contains(x, y) ? self_->hooks.cursor(*self_->view(), x - frame.left, y - frame.top) : 0;
  return asked ? asked : MOUSE_NORMAL;
}

bool EditorView::cancelNavigation() {
  const Self::Navigation before = std::exchange(self_->navigation, {});
  if (before.gesture == Gesture::none) return false;
  const BaseObject* camera = self_->camera();
  if (!before.moved || !camera || camera->GetIdentity() != before.object) return true;
  if (before.gesture == Gesture::dolly && before.view.orthographic)
    self_->setHalfHeight(before.half, true);
  else
    self_->setCamera(before.camera, true);
  return true;
}

bool EditorView::isNavigating() const noexcept {
  return self_->navigation.gesture != Gesture::none;
}

bool EditorView::inDrag() const noexcept {
  return self_->hooks.inDrag();
}

BaseObject* EditorView::objectAt(double x, double y) const {
  return self_->objectAt(x, y);
}

std::vector<BaseObject*> EditorView::objectsIn(double x0, double y0, double x1, double y1) const {
  return self_->objectsIn(x0, y0, x1, y1);
}

void EditorView::frameAll() {
  self_->frameObjects(false);
}

void EditorView::frameSelected() {
  self_->frameObjects(true);
}

void EditorView::lookThrough(BaseObject* camera) {
  if (!self_->ready()) return;
  cancelNavigation();
  self_->view()->SetSceneCamera(camera);
  self_->cameraMoved();
}

BaseObject* EditorView::camera() const {
  return self_->camera();
}

bool EditorView::finishPicture(int milliseconds) {
  const auto deadline = Steady::now() + std::chrono::milliseconds(milliseconds);
  if (!self_->painter) return false;
  self_->submit(true);
  while (self_->painter->wait(deadline)) {
    self_->deliver();
    if (!self_->painter || self_->painter->idle()) {
      // What the delivery itself asked for is painted too.
      if (!self_->picturePosted()) return true;
      self_->submit(true);
    }
  }
  return false;
}

EditorView::Stats EditorView::stats() const {
  Stats stats;
  stats.mainSeconds = self_->mainSeconds;
  if (!self_->painter) return stats;
  const ViewPainter::Counts counts = self_->painter->counts();
  stats.pictures = counts.pictures;
  stats.views = counts.views;
  stats.finished = counts.finished;
  stats.cancelled = counts.cancelled;
  stats.scenes = counts.scenes;
  return stats;
}

} // namespace host
